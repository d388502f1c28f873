#include "rte/BLL/core/rpcProxy.h"

#include "platform/bll/BLLManager.h"
#include "rte/BLL/core/receive_loop.h"

#include <unistd.h>
#include <boost/date_time/posix_time/posix_time_types.hpp>
#include <cstdio>
#include <cstring>

namespace {

// The threads that serve the process's RPC requests, by name.
constexpr const char *receive_loop_threads[] = {"BLLManager_mng", "dhcpra_fun"};

bool runs_receive_loop(const std::string &name) {
    for (const char *thread : receive_loop_threads)
        if (name == thread) return true;
    return false;
}

}  // namespace

int checkInterrupt() {
    try {
        boost::this_thread::interruption_point();
    } catch (const boost::thread_interrupted &) {
        return 1;
    }
    return 0;
}

RPCProxy::RPCProxy(void *(*service_start)(void *), const std::string &thread_name)
    : service_start_(service_start), name_(thread_name) {}

// NOLINTNEXTLINE(bugprone-exception-escape): only a thread that joins itself throws
RPCProxy::~RPCProxy() {
    stop(false);
}

bool RPCProxy::start() {
    if (thread_.joinable()) return false;
    try {
        boost::thread started(&RPCProxy::threadFunction, this);
        thread_ = boost::move(started);
    } catch (const boost::thread_resource_error &) {
        return false;
    }
    return true;
}

bool RPCProxy::stop(bool no_wait) {
    if (thread_.joinable()) {
        thread_.interrupt();
        ia::registered().wake();
    }
    if (no_wait) return isStopped();
    if (thread_.joinable()) thread_.join();
    return true;
}

bool RPCProxy::isStopped() {
    if (!thread_.joinable()) return true;
    return thread_.timed_join(boost::posix_time::microsec_clock::universal_time() +
                              boost::posix_time::milliseconds(100));
}

void RPCProxy::threadFunction() {
    singleton<BLLManager>::instance().registerThread(name_);
    service_start_(&interrupt_check_);
    if (runs_receive_loop(name_)) receiveLoop();
}

void RPCProxy::receiveLoop() const {
    const int process = getpid();
    std::fprintf(stderr, "[%d] %s: Starting main RPC loop - custom made.\n", process,
                 name_.c_str());
    ia::ReceiveLoop loop;
    for (;;) {
        if (const int error = loop.pass()) {
            std::fprintf(stderr, "[%d] %s: RPC main loop stopping (%d - %s).\n", process,
                         name_.c_str(), error, std::strerror(error));
            return;
        }
        if (checkInterrupt()) {
            std::fprintf(stderr, "[%d] %s: RPC main loop stopping.\n", process, name_.c_str());
            return;
        }
    }
}

bool rpcProxyLoopAnswers() {
    return ia::registered().loop_answers();
}
