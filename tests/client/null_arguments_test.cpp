// Every operation with a null for each of its pointers.
#include "client/operations.h"
#include "client/request.h"
#include "pppoeia/pppoeia.h"
#include "tests/client/recorder.h"
#include "tests/support/temp_dir.h"

#include <gtest/gtest.h>

using namespace ia::test;

namespace {

// What each argument is when another one is the null.
struct Stand {
    operator const char *() const { return "br0"; }
    operator char *() const { return id; }
    operator pppoeia_stats *() const { return &stats; }
    operator const pppoeia_port_info *() const { return &info; }
    operator const pppoeia_port_location *() const { return &info.location; }
    operator pppoeia_mac() const { return {}; }
    operator std::uint32_t() const { return 1; }
    operator std::int32_t() const { return 1; }
    operator std::uint16_t() const { return 1; }

    inline static char id[PPPOEIA_ID_SIZE];
    inline static pppoeia_stats stats;
    inline static pppoeia_port_info info;
};

template <class Argument>
Argument stand_in(bool null) {
    if constexpr (std::is_pointer_v<Argument>)
        if (null) return nullptr;
    return Stand{};
}

template <class... Arguments, std::size_t... Index>
void expect_null_refused(std::uint32_t id, int (*client)(Arguments...),
                         std::index_sequence<Index...>) {
    const bool pointers[] = {std::is_pointer_v<Arguments>..., false};
    const bool texts[] = {ia::wire::is_text<Arguments>..., false};
    for (std::size_t null = 0; null < sizeof...(Arguments); ++null) {
        if (!pointers[null]) continue;
        testing::internal::CaptureStdout();
        const int result = client(stand_in<Arguments>(Index == null)...);
        EXPECT_EQ(testing::internal::GetCapturedStdout(),
                  std::string(texts[null] ? "ippc: addparam_str" : "ippc: addparam") +
                      ": null pointer not supported: " + std::to_string(null) + "\n")
            << id;
        EXPECT_EQ(result, 2) << id << ", argument " << null;
    }
}

template <std::uint32_t Id, auto Client, auto Engine, auto Mirror, class... Arguments>
void check_row(ia::Operation<Id, Client, Engine, Mirror>, int (*client)(Arguments...)) {
    expect_null_refused(Id, client, std::index_sequence_for<Arguments...>{});
}

template <std::uint32_t Id, auto Client, auto Engine, auto Mirror>
void check_row(ia::Operation<Id, Client, Engine, Mirror> row) {
    check_row(row, Client);
}

template <class... Rows>
void check_rows(ia::OperationTable<Rows...>) {
    (check_row(Rows{}), ...);
}

TEST(NullArguments, AreNamedAndNothingIsSent) {
    const TempDir dir;
    const std::string path = dir / "main";
    ia::engine_path = path.c_str();
    Recorder recorder(path);
    check_rows(ia::ClientOperations{});
    EXPECT_TRUE(recorder.take().empty());
}

TEST(NullArguments, TheFirstIsNamed) {
    testing::internal::CaptureStdout();
    EXPECT_EQ(pppoeia_port_add("br0", 1, nullptr, nullptr, nullptr), 2);
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "ippc: addparam_str: null pointer not supported: 2\n");
}

}  // namespace
