#include "rte/BLL/core/caller.h"

#include <linux/inet_diag.h>
#include <linux/netlink.h>
#include <linux/sock_diag.h>
#include <netinet/tcp.h>
#include <sys/socket.h>
#include <unistd.h>
#include <cstring>
#include <optional>

namespace ia {

namespace {

using Transport = rpcProxyCaller_t::transport_t;

struct Question {
    nlmsghdr header;
    inet_diag_req_v2 request;
};

// Asks for the socket whose local address is `from`.
Question question(const sockaddr_in &from, const sockaddr_in &here) {
    Question question{};
    question.header.nlmsg_len = sizeof question;
    question.header.nlmsg_type = SOCK_DIAG_BY_FAMILY;
    question.header.nlmsg_flags = NLM_F_REQUEST;
    inet_diag_req_v2 &request = question.request;
    request.sdiag_family = AF_INET;
    request.sdiag_protocol = IPPROTO_TCP;
    request.idiag_states = ~0U;
    request.id.idiag_sport = from.sin_port;
    request.id.idiag_dport = here.sin_port;
    request.id.idiag_src[0] = from.sin_addr.s_addr;
    request.id.idiag_dst[0] = here.sin_addr.s_addr;
    request.id.idiag_cookie[0] = request.id.idiag_cookie[1] = INET_DIAG_NOCOOKIE;
    return question;
}

// A socket that its process has closed has no owner, though the kernel reports uid
// 0.
std::optional<uid_t> owner(const inet_diag_msg &socket) {
    if (socket.idiag_inode == 0 || socket.idiag_state == TCP_TIME_WAIT) return std::nullopt;
    return socket.idiag_uid;
}

// The kernel answers synchronously.
std::optional<uid_t> ask_kernel(const Question &question) {
    const int link = socket(AF_NETLINK, SOCK_RAW | SOCK_CLOEXEC, NETLINK_SOCK_DIAG);
    if (link < 0) return std::nullopt;
    alignas(nlmsghdr) char answer[1024];
    ssize_t size = -1;
    if (send(link, &question, sizeof question, 0) == sizeof question)
        size = recv(link, answer, sizeof answer, MSG_DONTWAIT);
    close(link);
    nlmsghdr header{};
    inet_diag_msg socket{};
    if (size < static_cast<ssize_t>(NLMSG_LENGTH(sizeof socket))) return std::nullopt;
    std::memcpy(&header, answer, sizeof header);
    if (header.nlmsg_type != SOCK_DIAG_BY_FAMILY) return std::nullopt;
    std::memcpy(&socket, answer + NLMSG_HDRLEN, sizeof socket);
    return owner(socket);
}

}  // namespace

rpcProxyCaller_t local_caller(int connection) {
    rpcProxyCaller_t caller{Transport::local, false, 0, 0, 0};
    ucred peer{};
    socklen_t size = sizeof peer;
    if (getsockopt(connection, SOL_SOCKET, SO_PEERCRED, &peer, &size) != 0) return caller;
    caller.user_known = true;
    caller.user = peer.uid;
    caller.process = peer.pid;
    return caller;
}

rpcProxyCaller_t tcp_caller(int connection, const sockaddr_in &from) {
    rpcProxyCaller_t caller{Transport::tcp, false, 0, 0, ntohs(from.sin_port)};
    sockaddr_in here{};
    socklen_t size = sizeof here;
    if (getsockname(connection, reinterpret_cast<sockaddr *>(&here), &size) != 0) return caller;
    if (const auto user = ask_kernel(question(from, here))) {
        caller.user_known = true;
        caller.user = *user;
    }
    return caller;
}

rpcProxyCaller_t udp_caller(const sockaddr_in &from) {
    return {Transport::udp, false, 0, 0, ntohs(from.sin_port)};
}

}  // namespace ia
