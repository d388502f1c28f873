// One object of a class per process, constructed on first use.
#pragma once

#pragma GCC visibility push(default)

template <class T>
class singleton {
public:
    // The library and the program that loads it must share the object, so the
    // accessor is exported.
    static T &instance() {
        static T object;
        return object;
    }

    singleton(const singleton &) = delete;
    singleton &operator=(const singleton &) = delete;

protected:
    singleton() = default;
    ~singleton() = default;
};

#pragma GCC visibility pop
