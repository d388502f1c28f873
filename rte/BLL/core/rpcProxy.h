// The host of an ONC RPC service: a named thread that registers the service. The
// thread with a particular name also serves the calls of all services of the
// process.
#pragma once

#include <rpc/rpc.h>
#include <sys/types.h>
#include <boost/thread/thread.hpp>
#include <chrono>
#include <cstddef>
#include <string>
#include <vector>

#pragma GCC visibility push(default)

// For service code on a proxy's thread: 1 when the thread has been asked to stop
// (the request is then consumed), else 0.
int checkInterrupt();

// Registers `dispatch` for the program number and version over UDP and TCP, on
// ports of 127.0.0.1 chosen by the system, and with the port mapper. If a transport
// fails, standard error says so and the other is still tried.
void rpcProxyRegisterSvc(unsigned long program, unsigned long version,
                         void (*dispatch)(svc_req *request, SVCXPRT *transport));

// A service of this process over UDP or TCP. It is served on its port even if the
// port mapper does not know it.
struct rpcProxyTransport_t {
    unsigned long program;
    unsigned long version;
    int protocol;
    unsigned short port;
    bool known;  // the port mapper took it when it was registered
};

// Waits up to `limit` until there are `count` of them; returns those that exist
// then. Any thread.
std::vector<rpcProxyTransport_t> rpcProxyTransports(std::size_t count,
                                                    std::chrono::milliseconds limit);

// Serves the program also at each local socket created later, without a port. Called
// while libraries are loaded.
void rpcProxyServeLocally(unsigned long program, unsigned long version,
                          void (*dispatch)(svc_req *request, SVCXPRT *transport));

// A second way to the registered programs: a stream socket in the file system,
// whose callers' users are known. Create it before the receive loop starts, destroy
// it after the loop has stopped.
class RPCLocalSocket {
public:
    // Creates a missing folder (0755) and the socket (0660); replaces a socket that
    // nobody serves. Throws std::system_error on failure, also when another process
    // serves the socket.
    explicit RPCLocalSocket(std::string socket_path);
    ~RPCLocalSocket();
    RPCLocalSocket(const RPCLocalSocket &) = delete;
    RPCLocalSocket &operator=(const RPCLocalSocket &) = delete;

private:
    const std::string path_;
    SVCXPRT *transport_ = nullptr;
};

// The caller of the call being dispatched.
struct rpcProxyCaller_t {
    enum class transport_t { udp, tcp, local } transport;
    bool user_known;  // always over a local socket, never over UDP
    uid_t user;
    pid_t process;        // over a local socket only, else 0
    unsigned short port;  // over IP only, else 0
};

// For a dispatcher. Null when this receive loop does not serve the transport.
const rpcProxyCaller_t *rpcProxyCaller(const SVCXPRT *transport);

// For a watchdog: whether the receive loop has made a pass since the last question,
// or still has some of a second's grace; starts the next period. Never waits. Any
// thread.
bool rpcProxyLoopAnswers();

// The owner calls start, stop and isStopped from one thread at a time; the
// service's own thread may call them only after start() has returned.
class RPCProxy {
public:
    // `service_start` runs on the proxy's thread; its argument is the address
    // of a pointer to checkInterrupt, its result is ignored.
    RPCProxy(void *(*service_start)(void *), const std::string &thread_name);
    ~RPCProxy();
    RPCProxy(const RPCProxy &) = delete;
    RPCProxy &operator=(const RPCProxy &) = delete;

    // False when no thread can be created, and while an earlier thread, even an
    // ended one, has not been joined by stop().
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
