// Notifications and the log.
#include "platform/bll/Log.h"
#include "platform/bll/Notification.h"
#include "tests/support/captured_syslog.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <syslog.h>
#include <boost/bind/bind.hpp>

using testing::ElementsAre;

namespace {

using namespace boost::placeholders;

using PortEvent = Notification::EventOf<const char *, int>;

struct Follower {
    std::string name;
    std::vector<std::string> &heard;
    PortEvent &event;
    bool agrees = true;

    bool ask(const char *bridge, int port) {
        heard.push_back(name + "?" + bridge + std::to_string(port));
        return agrees;
    }
    bool tell(const char *bridge, int port) {
        heard.push_back(name + "!" + bridge + std::to_string(port));
        return true;
    }
    void leave_once_told(const char *bridge, int port) {
        tell(bridge, port);
        event.unsubscribePost(boost::bind(&Follower::leave_once_told, this, _1, _2));
    }
    void send_away(Follower *other, const char *bridge, int port) {
        tell(bridge, port);
        event.unsubscribePost(boost::bind(&Follower::tell, other, _1, _2));
        event.subscribePost(boost::bind(&Follower::tell, this, _1, _2));
    }
    auto asked() { return boost::bind(&Follower::ask, this, _1, _2); }
    auto told() { return boost::bind(&Follower::tell, this, _1, _2); }
};

class Events : public testing::Test {
protected:
    PortEvent event;
    std::vector<std::string> heard;
    Follower a{"a", heard, event}, b{"b", heard, event}, c{"c", heard, event};
};

TEST_F(Events, RunInTheOrderOfSubscription) {
    EXPECT_TRUE(event.ask("br0", 1)) << "nobody objects";
    for (Follower *follower : {&b, &a, &c}) {
        event.subscribePre(follower->asked());
        event.subscribePost(follower->told());
    }
    EXPECT_TRUE(event.ask("br0", 1));
    event.tell("br0", 1);
    EXPECT_THAT(heard, ElementsAre("b?br01", "a?br01", "c?br01", "b!br01", "a!br01", "c!br01"));
}

TEST_F(Events, FirstRefusalIsFinal) {
    a.agrees = false;
    for (Follower *follower : {&b, &a, &c}) event.subscribePre(follower->asked());
    EXPECT_FALSE(event.ask("br0", 1));
    EXPECT_THAT(heard, ElementsAre("b?br01", "a?br01"));
}

TEST_F(Events, UnsubscribingRemovesEveryEqualBindingAndNoOther) {
    for (Follower *follower : {&a, &b, &a}) event.subscribePost(follower->told());
    event.subscribePost(boost::bind(&Follower::ask, &a, _1, _2));
    event.subscribePre(a.asked());
    event.unsubscribePost(a.told());
    event.tell("br0", 1);
    EXPECT_TRUE(event.ask("br0", 2));
    EXPECT_THAT(heard, ElementsAre("b!br01", "a?br01", "a?br02"));
}

TEST_F(Events, CallbacksMayUnsubscribeAndSubscribe) {
    event.subscribePost(boost::bind(&Follower::leave_once_told, &a, _1, _2));
    event.subscribePost(boost::bind(&Follower::send_away, &b, &c, _1, _2));
    event.subscribePost(c.told());
    event.tell("br0", 1);
    EXPECT_THAT(heard, ElementsAre("a!br01", "b!br01")) << "c was sent away before its turn";
    heard.clear();
    event.tell("br0", 2);
    EXPECT_THAT(heard, ElementsAre("b!br02", "b!br02"));
}

TEST(Log, RecordsWholeLinesAsWritten) {
    Log &log = singleton<Log>::instance();
    log.setMsgLevel(0).write("pppoeia: Error adding port ").write(4294967295U);
    EXPECT_TRUE(ia::test::syslog_records().empty()) << "the line has not ended";
    log.write(" to pppoeia module").write("\n");
    log.setMsgLevel(1).write("result ").write(-19).write(".\n\x1b[2J unfinished");
    log.setMsgLevel(0);
    std::vector<std::pair<int, std::string>> recorded;
    for (const auto &[priority, text] : ia::test::syslog_records())
        recorded.emplace_back(priority, text);
    EXPECT_THAT(
        recorded,
        ElementsAre(std::pair(LOG_ERR, "pppoeia: Error adding port 4294967295 to pppoeia module\n"),
                    std::pair(LOG_WARNING, "result -19.\n"),
                    std::pair(LOG_WARNING, "\\x1B[2J unfinished")));
}

}  // namespace
