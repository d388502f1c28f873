// The loop's order: times, what is asked from anywhere, and descriptors.
#include "management/event_loop.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/epoll.h>
#include <sys/eventfd.h>
#include <thread>

namespace ia {
namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;

struct Loop : testing::Test {
    EventLoop::Clock::time_point now{1h};
    EventLoop loop{[this] { return now; }};
    std::vector<std::string> done;

    std::vector<std::string> settle() {
        while (loop.turn(0ms)) {
        }
        return std::exchange(done, {});
    }
    EventLoop::Act note(const char *what) {
        return [this, what] { done.emplace_back(what); };
    }
};

TEST_F(Loop, DoesWhatIsDueInTheOrderOfItsTime) {
    EventLoop::Task late(loop, note("late")), early(loop, note("early")), none(loop, note("none"));
    late.at(now + 2s);
    early.at(now + 1s);
    none.at(now + 1s);
    none.cancel();
    EXPECT_THAT(settle(), ElementsAre());
    now += 2s;
    EXPECT_THAT(settle(), ElementsAre("early", "late"));
    EXPECT_THAT(settle(), ElementsAre());
}

TEST_F(Loop, DoesOnceWhatIsAskedTwiceAndAgainWhatIsAskedMeanwhile) {
    EventLoop::Task task(loop, [&] {
        done.emplace_back("done");
        if (done.size() == 1) task.ask();
        task.cancel();
    });
    std::thread([&] { task.ask(), task.ask(); }).join();
    EXPECT_THAT(settle(), ElementsAre("done", "done"));
}

TEST_F(Loop, SourceMayEndInItsOwnAct) {
    const node::Descriptor event(eventfd(1, EFD_CLOEXEC));
    std::optional<EventLoop::Source> source;
    source.emplace(loop, event.get(), EPOLLIN, [&] {
        done.emplace_back("ready");
        if (done.size() == 2) source.reset();
    });
    EXPECT_THAT(settle(), ElementsAre("ready", "ready")) << "as long as it is ready";
}

}  // namespace
}  // namespace ia
