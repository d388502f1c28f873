// The caller's side of the IPPC library.
#include "node/ippc/connection.h"
#include "node/ippc/message.h"
#include "platform/ippc.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <cstring>
#include <new>

using namespace ia::node;
using ia::platform::ippc_max_output;
using ia::platform::ippc_max_params;
using ia::platform::ippc_max_text;
using ia::platform::IppcParam;

namespace {

constexpr std::chrono::seconds call_limit{5};
constexpr std::size_t max_reply = 8 + ippc_max_params * (8 + ippc_max_output);

struct Output {
    std::uint16_t code;
    void *address;
};

struct Request : ippcFuncData {
    std::size_t count = 0;
    std::size_t added = 0;
    std::size_t outputs = 0;
    std::array<Output, ippc_max_params> output;
    Bytes message;
};

Request &request_of(ippcFuncData *handle) {
    return *static_cast<Request *>(handle);
}

std::span<const std::uint8_t> input_bytes(int type_size, const void *address) {
    const auto *bytes = static_cast<const std::uint8_t *>(address);
    if (type_size != IPPC_TEXT) return {bytes, static_cast<std::size_t>(type_size)};
    return {bytes, std::strlen(static_cast<const char *>(address)) + 1};
}

// Whether the reply's parameter matches the output.
bool matches(const Output &output, const IppcParam &param) {
    if (param.code != output.code) return false;
    if (output.code != IPPC_TEXT) return param.bytes.size() == output.code;
    return !param.bytes.empty() && param.bytes.size() <= ippc_max_text && param.bytes.back() == 0;
}

// Fills all outputs from a reply, or none.
bool take_reply(Request &request, std::span<const std::uint8_t> bytes) {
    Message reply;
    if (read_message(bytes, reply) || reply.kind != MessageKind::reply) return false;
    const auto result = static_cast<std::int32_t>(reply.word);
    if (reply.count != (result == 0 ? request.outputs : 0)) return false;
    for (std::size_t i = 0; i < reply.count; ++i)
        if (!matches(request.output[i], reply.param[i])) return false;
    for (std::size_t i = 0; i < reply.count; ++i)
        std::ranges::copy(reply.param[i].bytes,
                          static_cast<std::uint8_t *>(request.output[i].address));
    request.result = result;
    return true;
}

// Uses an idle connection, or opens one. An idle one may lead to a server that has
// ended: if it never read the request, the request is sent once more.
std::optional<Connection> exchange(const char *path, const Bytes &request,
                                   std::span<std::uint8_t> &reply) {
    const Deadline deadline = std::chrono::steady_clock::now() + call_limit;
    KeptConnections &kept = KeptConnections::of_process();
    if (auto connection = kept.take(path)) {
        switch (connection->exchange(request, reply, deadline)) {
            case Exchange::answered: return connection;
            case Exchange::failed: return std::nullopt;
            case Exchange::not_taken: kept.forget(path);
        }
    }
    auto connection = Connection::open(path, deadline);
    if (!connection || connection->exchange(request, reply, deadline) != Exchange::answered)
        return std::nullopt;
    return connection;
}

}  // namespace

// Nothing to prepare: the calls open connections.
int kvInitIppc() {
    return 0;
}

ippcFuncData *ippcFuncDataNew(std::uint32_t id, int count) {
    if (count < 0 || static_cast<std::size_t>(count) > ippc_max_params) return nullptr;
    try {
        auto *request = new Request;
        request->count = static_cast<std::size_t>(count);
        write_head(request->message, MessageKind::request, request->count, id);
        return request;
    } catch (const std::bad_alloc &) {
        return nullptr;
    }
}

int ippcFuncDataAddFuncParam(ippcFuncData *handle, int index, int type_size, int direction,
                             void *address) try {
    if (!handle || !address || type_size < 0 || type_size > 0xFFFF) return -1;
    if (direction != IPPC_INPUT && direction != IPPC_OUTPUT) return -1;
    Request &request = request_of(handle);
    if (index < 0 || static_cast<std::size_t>(index) != request.added ||
        request.added == request.count)
        return -1;
    const auto code = static_cast<std::uint16_t>(type_size);
    if (direction == IPPC_OUTPUT) {
        if (code > ippc_max_output) return -1;
        request.output[request.outputs++] = {code, address};
        write_param(request.message, {code, IPPC_OUTPUT, {}});
    } else {
        write_param(request.message, {code, IPPC_INPUT, input_bytes(type_size, address)});
    }
    ++request.added;
    return request.message.size() <= ippc_max_message ? 0 : -1;
} catch (const std::bad_alloc &) {
    return -1;
}

int kvIppcCall(const char *path, ippcFuncData *handle) try {
    if (!path || !handle) return -1;
    Request &request = request_of(handle);
    if (request.added != request.count || request.message.size() > ippc_max_message) return -1;
    std::array<std::uint8_t, max_reply> buffer;
    std::span<std::uint8_t> reply = buffer;
    auto connection = exchange(path, request.message, reply);
    if (!connection) return -1;
    KeptConnections::of_process().keep(path, std::move(*connection));
    return take_reply(request, reply) ? 0 : -1;
} catch (const std::bad_alloc &) {
    return -1;
}

void ippcFuncDataDestroy(ippcFuncData *handle) {
    if (handle) delete &request_of(handle);
}
