#include "client/dispatch/dispatch.h"

#include "client/node_operations.h"
#include "client/wire.h"
#include "fe/base/trace.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <tuple>
#include <type_traits>
#include <utility>

namespace ia {

namespace {

using platform::IppcAnswer;
using platform::IppcParam;
using platform::IppcRequest;

bool refuse_param(const IppcRequest &request, std::size_t index, const char *what) {
    pppoeia_log(4, "ippc: refused function %u: parameter %zu %s", request.function, index, what);
    return false;
}

// Whether a parameter fits its argument: direction, code, length, and a text's
// terminator.
bool check_param(const IppcRequest &request, std::size_t index, int code, int direction) {
    const IppcParam &param = request.params[index];
    const std::span<const std::uint8_t> bytes = param.bytes;
    if (param.direction != direction) return refuse_param(request, index, "has a wrong direction");
    if (param.code != code) return refuse_param(request, index, "has a wrong type-size code");
    if (direction == IPPC_OUTPUT)
        return bytes.empty() || refuse_param(request, index, "is an output and has bytes");
    if (code != IPPC_TEXT)
        return bytes.size() == param.code || refuse_param(request, index, "has a wrong length");
    const auto end = std::ranges::find(bytes, std::uint8_t{0});
    if (end == bytes.end()) return refuse_param(request, index, "has no terminator");
    return end + 1 == bytes.end() || refuse_param(request, index, "goes on behind its terminator");
}

// Holds an argument while its operation runs: a number, or a block by value.
template <class Argument>
struct Slot {
    void load(std::span<const std::uint8_t> bytes) {
        value = wire::decode<Argument>(bytes.first<sizeof(Argument)>());
    }
    Argument argument() { return value; }
    void answer(IppcAnswer &) const {}

    Argument value;
};

// A block by pointer.
template <class Block>
struct Slot<const Block *> : Slot<Block> {
    const Block *argument() { return &this->value; }
};

// A text; its bytes stay in the request.
template <>
struct Slot<const char *> {
    void load(std::span<const std::uint8_t> bytes) {
        value = reinterpret_cast<const char *>(bytes.data());
    }
    const char *argument() const { return value; }
    void answer(IppcAnswer &) const {}

    const char *value;
};

// An output, which the operation fills.
template <class Block>
struct Slot<Block *> {
    void load(std::span<const std::uint8_t>) {}
    Block *argument() { return &value; }
    void answer(IppcAnswer &answer) const {
        platform::IppcOutput &output = answer.output[answer.outputs++];
        output.code = output.size = sizeof(Block);
        static_assert(sizeof(Block) <= sizeof output.bytes);
        std::ranges::copy(wire::encode(value), output.bytes.begin());
    }

    Block value{};
};

template <>
struct Slot<char *> {
    void load(std::span<const std::uint8_t>) {}
    char *argument() { return text; }
    void answer(IppcAnswer &answer) const {
        platform::IppcOutput &output = answer.output[answer.outputs++];
        output.code = IPPC_TEXT;
        output.size = static_cast<std::uint16_t>(strnlen(text, sizeof text - 1) + 1);
        std::memcpy(output.bytes.data(), text, output.size);
    }

    char text[platform::ippc_max_text] = "";
};
static_assert(platform::ippc_max_text >= PPPOEIA_ID_SIZE);

// Runs one engine operation with a request's parameters.
template <auto Engine, class... Arguments, std::size_t... Index>
bool run_with(const IppcRequest &request, IppcAnswer &answer, int (*)(Arguments...),
              std::index_sequence<Index...>) {
    if (request.params.size() != sizeof...(Arguments)) {
        pppoeia_log(4, "ippc: refused function %u: %zu parameters instead of %zu", request.function,
                    request.params.size(), sizeof...(Arguments));
        return false;
    }
    if (!(check_param(request, Index, wire::code<Arguments>, wire::direction<Arguments>) && ...))
        return false;
    std::tuple<Slot<Arguments>...> slots;
    (std::get<Index>(slots).load(request.params[Index].bytes), ...);
    answer.result = Engine(std::get<Index>(slots).argument()...);
    if (answer.result == 0) (std::get<Index>(slots).answer(answer), ...);
    return true;
}

template <class Signature>
struct Arity;
template <class... Arguments>
struct Arity<int (*)(Arguments...)> : std::index_sequence_for<Arguments...> {
    using Indexes = std::index_sequence_for<Arguments...>;
};

using Handler = bool (*)(const IppcRequest &, IppcAnswer &);

template <class Row>
bool run(const IppcRequest &request, IppcAnswer &answer) {
    using Signature = std::remove_const_t<decltype(Row::engine)>;
    return run_with<Row::engine>(request, answer, Row::engine,
                                 typename Arity<Signature>::Indexes{});
}

// A table's handlers, indexed from its first id; null for an unused id.
template <std::uint32_t First, class... Rows>
constexpr auto make_handlers(OperationTable<Rows...>) {
    static_assert(((Rows::id >= First) && ...));
    std::array<Handler, std::max({Rows::id...}) - First + 1> by_id{};
    ((by_id[Rows::id - First] = run<Rows>), ...);
    return by_id;
}

template <class... Rows>
constexpr bool ids_ascend(OperationTable<Rows...>) {
    constexpr std::array ids{Rows::id...};
    return std::ranges::is_sorted(ids, std::ranges::less_equal{});
}

constexpr auto handlers = make_handlers<0>(ClientOperations{});
constexpr auto node_handlers = make_handlers<first_node_operation>(NodeOperations{});
static_assert(ids_ascend(ClientOperations{}) && ids_ascend(NodeOperations{}),
              "an id is used twice, or the rows are out of order");
static_assert(handlers.size() <= first_node_operation);

Handler find_handler(std::uint32_t id) {
    if (id < handlers.size()) return handlers[id];
    const std::uint32_t own = id - first_node_operation;
    return id >= first_node_operation && own < node_handlers.size() ? node_handlers[own] : nullptr;
}

}  // namespace

bool dispatch(const platform::IppcRequest &request, platform::IppcAnswer &answer) {
    if (const Handler handler = find_handler(request.function)) return handler(request, answer);
    pppoeia_log(4, "ippc: refused function %u: there is none", request.function);
    return false;
}

void warn_ippc(const std::string &text) {
    pppoeia_log(4, "%s", text.c_str());
}

}  // namespace ia
