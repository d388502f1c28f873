// Diagnostic commands from outside the process, over a local socket.
//
// A message is one record of a SOCK_SEQPACKET connection, its reply another:
//
//   command NUL argument NUL target NUL        at most 1024 bytes
//   "ok\n" and the answer, or "error: why\n"   at most 64 KiB
#pragma once

#include "node/descriptor.h"

#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <thread>

namespace ia::node {

struct ExternalMessage {
    std::string command;   // 1 to 63 characters
    std::string argument;  // may be empty
    std::string target;    // path of the sender's terminal; may be empty
};

// None when the record is not a message.
std::optional<ExternalMessage> parse_external_message(std::string_view record);

// Receives messages from root, one by one, on a thread of its own.
class ExternalMessages {
public:
    // `deliver` runs on the receiving thread; its result is the answer.
    using Deliver = std::function<std::string(const ExternalMessage &)>;

    // Creates the socket at `path`; replaces one that nobody serves. Throws
    // std::system_error naming the path.
    ExternalMessages(const std::string &path, Deliver deliver);
    ~ExternalMessages();  // waits for the message that is being delivered
    ExternalMessages(const ExternalMessages &) = delete;
    ExternalMessages &operator=(const ExternalMessages &) = delete;

private:
    void receive();
    std::string serve(int connection) const;

    const std::string socket_path_;
    const Deliver deliver_message_;
    Descriptor listener_;
    Descriptor stop_;  // an eventfd: readable when the thread has to end
    std::thread receiver_;
};

// Sends one message and returns the reply. Throws std::system_error when the socket
// cannot be reached, std::invalid_argument for an invalid message.
std::string send_external_message(const std::string &path, const ExternalMessage &message);

}  // namespace ia::node
