// Commands from a file, with somebody else to run them.
#include "ctl/batch.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sstream>
#include <stdexcept>

namespace {

using namespace ia::ctl;
using testing::ElementsAre;

TEST(Batch, WordsOfALine) {
    EXPECT_THAT(split_line("set  cid-mode\t1 custom\r"),
                ElementsAre("set", "cid-mode", "1", "custom"));
    EXPECT_THAT(split_line("set cid-format '$A \"b\" \\c'"),
                ElementsAre("set", "cid-format", "$A \"b\" \\c"));
    EXPECT_THAT(split_line(R"(a "b \"c\" \\ \d 'e'")"), ElementsAre("a", R"(b "c" \ \d 'e')"));
    EXPECT_THAT(split_line(R"(a\ b 'c'd"e")"), ElementsAre("a b", "cde"));
    EXPECT_THAT(split_line("set shelf '' # none"), ElementsAre("set", "shelf", ""));
    EXPECT_THAT(split_line("a#b '#'"), ElementsAre("a#b", "#"));
    EXPECT_THAT(split_line("   # only this"), ElementsAre());
    EXPECT_THROW(split_line("set shelf 'x"), std::runtime_error);
    EXPECT_THROW(split_line("\""), std::runtime_error);
}

class BatchRun : public testing::TestWithParam<bool> {
protected:
    Status run(const std::string &text) {
        std::istringstream commands(text);
        return run_batch(commands,
                         {"f", GetParam(),
                          [this](const std::vector<std::string> &words, const std::string &place) {
                              ran.push_back(place + words.front());
                              return static_cast<Status>(words.front()[0] - '0');
                          },
                          [this](const std::string &place, const std::string &fault) {
                              ran.push_back(place + fault);
                          }});
    }
    std::vector<std::string> ran;
};

TEST_P(BatchRun, StopsOrGoesOn) {
    EXPECT_EQ(GetParam() ? unreachable : refused, run("0\n\n# no\n0 x\n1\n0\n3\n'\n0"));
    if (GetParam())
        EXPECT_THAT(ran, ElementsAre("f:1: 0", "f:4: 0", "f:5: 1", "f:6: 0", "f:7: 3",
                                     "f:8: a ' does not end", "f:9: 0"));
    else
        EXPECT_THAT(ran, ElementsAre("f:1: 0", "f:4: 0", "f:5: 1"));
}

INSTANTIATE_TEST_SUITE_P(KeepGoing, BatchRun, testing::Bool());

}  // namespace
