// The host of an ONC RPC service: a named thread that registers the service,
// and, in the one thread of the process chosen by name, serves every service.
#pragma once

#include <rpc/rpc.h>
#include <sys/types.h>
#include <boost/thread/thread.hpp>
#include <chrono>
#include <cstddef>
#include <string>
#include <vector>

#pragma GCC visibility push(default)

// 1 when the calling thread has been asked to stop, which consumes the
// request; 0 otherwise. For service code on a proxy's thread.
int checkInterrupt();

// Makes `dispatch` reachable for the program number and version over UDP and
// TCP, on ports of 127.0.0.1 that the system picks and the port mapper knows.
// A failing transport is reported on standard error; the other is tried still.
void rpcProxyRegisterSvc(unsigned long program, unsigned long version,
                         void (*dispatch)(svc_req *request, SVCXPRT *transport));

// A service of this process over UDP or TCP. It is served on its port whether or
// not the port mapper knows it.
struct rpcProxyTransport_t {
    unsigned long program;
    unsigned long version;
    int protocol;
    unsigned short port;
    bool known;  // the port mapper took it when it was registered
};

// Waits until there are `count` of them, at most for `limit`; those there are then.
// Any thread.
std::vector<rpcProxyTransport_t> rpcProxyTransports(std::size_t count,
                                                    std::chrono::milliseconds limit);

// Makes `dispatch` reachable at each local socket from its making on, without a port.
// While libraries are loaded.
void rpcProxyServeLocally(unsigned long program, unsigned long version,
                          void (*dispatch)(svc_req *request, SVCXPRT *transport));

// A second way to the registered programs: a stream socket in the file system. Its
// callers are known by their users. Made before the receive loop starts, ended after it
// has stopped.
class RPCLocalSocket {
public:
    // Makes the folder (0755) when it is missing, and the socket (0660). A socket that
    // nobody serves is replaced. std::system_error when it cannot be made, or another
    // process serves it.
    explicit RPCLocalSocket(std::string socketPath);
    ~RPCLocalSocket();
    RPCLocalSocket(const RPCLocalSocket &) = delete;
    RPCLocalSocket &operator=(const RPCLocalSocket &) = delete;

private:
    const std::string path_;
    SVCXPRT *transport_ = nullptr;
};

// Who makes the call that is being dispatched.
struct rpcProxyCaller_t {
    enum class transport_t { udp, tcp, local } transport;
    bool userKnown;  // over a local socket always, over UDP never
    uid_t user;
    pid_t process;        // over a local socket only, else 0
    unsigned short port;  // over IP only, else 0
};

// For a dispatcher. Null when the transport is not served by the receive loop here.
const rpcProxyCaller_t *rpcProxyCaller(const SVCXPRT *transport);

// Whether the receive loop has made a pass since it was asked last, or still has a
// second to; asks it anew. Never waits. For a watchdog; any thread.
bool rpcProxyLoopAnswers();

// The owner calls start, stop and isStopped from one thread at a time; the service
// thread may call them only once start() has returned.
class RPCProxy {
public:
    // `service_start` runs on the proxy's thread; its argument is the address
    // of a pointer to checkInterrupt, its result is ignored.
    RPCProxy(void *(*service_start)(void *), const std::string &thread_name);
    ~RPCProxy();
    RPCProxy(const RPCProxy &) = delete;
    RPCProxy &operator=(const RPCProxy &) = delete;

    // False while an earlier thread, even one that has ended, is not joined by
    // stop(), and when no thread can be created.
    bool start();

    // Asks the thread to end. Joins it and returns true, or with `no_wait`
    // answers as isStopped(). Joining from the service thread itself throws
    // boost::thread_resource_error.
    bool stop(bool no_wait);

    // Whether the thread has ended, waiting up to 100 ms.
    bool isStopped();

private:
    void threadFunction();
    void receiveLoop() const;

    boost::thread thread_;  // not joinable until start() succeeds
    int (*interrupt_check_)() = checkInterrupt;
    void *(*service_start_)(void *);
    std::string name_;
};

#pragma GCC visibility pop
