// The framework's life: entities, phases, the description.
#include "node/framework/framework.h"
#include "platform/bll/BLLManager.h"
#include "platform/bll/CliConfig.h"
#include "tests/framework/recorder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <pthread.h>
#include <list>

namespace {

using ia::node::Description;
using ia::node::Framework;
using testing::ElementsAre;

ia::test::Recorder recorder;

class Entity : public BLEntity {
public:
    Entity(const char *name, std::list<std::string> depends_on)
        : BLEntity(name), needed(std::move(depends_on)) {}

    void applyConfiguration(boost::shared_ptr<Storage::Setting>) override {}
    void saveConfiguration(boost::shared_ptr<Storage::Setting>) const override {
        recorder.note("save", entityName());
    }
    bool start() override { return recorder.note("start", entityName()); }
    bool applyDefaultSettings() override { return recorder.note("defaults", entityName()); }
    bool stop() override { return recorder.note("stop", entityName()); }
    void getDependencies(std::list<std::string> &names) override { names = needed; }

    std::list<std::string> needed;
};

Entity later("later", {"earlier"});
Entity earlier("earlier", {"Interfaces"});

class Frameworks : public testing::Test {
protected:
    static void SetUpTestSuite() {
        BLLManager &manager = singleton<BLLManager>::instance();
        CliConfig &config = singleton<CliConfig>::instance();
        manager.registerEntity(later);
        manager.registerEntity(earlier);
        recorder.subscribe();
        manager.configurationApplyStart.subscribe([] { recorder.note("apply {"); });
        manager.configurationApplyStop.subscribe([](int missed) { recorder.note("}", missed); });
        config.clearConfigStart.subscribe([] { recorder.note("clear {"); });
        config.clearConfigStop.subscribe([] { recorder.note("}"); });
        config.saveConfigStart.subscribe([] { recorder.note("save {"); });
        config.saveConfigStop.subscribe([] { recorder.note("}"); });
    }
    Frameworks() {
        recorder.refused.clear();
        recorder.lines.clear();
        node.bridges = {{.name = "br0"}};
    }
    std::vector<std::string> lines() { return std::exchange(recorder.lines, {}); }

    Description node;
    Framework framework{recorder, ""};
};

TEST_F(Frameworks, StartsServesAndStops) {
    ASSERT_TRUE(framework.start(node));
    EXPECT_THAT(lines(), ElementsAre("start earlier", "start later", "apply {", "+bridge br0 256",
                                     "[agent] enabled = true", "} 0"));
    node.shelf = "S2";
    node.bridges.push_back({.name = "br1"});
    recorder.refused = {"+bridge br1 256"};
    EXPECT_FALSE(framework.apply(node));
    EXPECT_THAT(lines(), ElementsAre("apply {", "shelf S2", "+bridge br1 256", "} 1"));
    EXPECT_TRUE(framework.clear_configuration());
    EXPECT_THAT(lines(), ElementsAre("clear {", "defaults earlier", "defaults later",
                                     "[agent] enabled = true", "}"));
    framework.save_configuration();
    EXPECT_THAT(lines(), ElementsAre("save {", "save earlier", "save later", "}"));
    recorder.refused = {"stop later"};
    EXPECT_FALSE(framework.stop());
    EXPECT_THAT(lines(), ElementsAre("stop later", "stop earlier")) << "every one is stopped";
}

TEST_F(Frameworks, EntityThatDoesNotStartTakesTheOthersDown) {
    recorder.refused = {"start later"};
    EXPECT_FALSE(framework.start(node));
    EXPECT_THAT(lines(), ElementsAre("start earlier", "start later", "stop earlier"));
    recorder.refused.clear();
    EXPECT_TRUE(framework.start(node)) << "it may be tried again";
}

TEST_F(Frameworks, MissingDependencyIsNoEndlessWait) {
    earlier.needed = {"nobody"};
    EXPECT_FALSE(framework.start(node));
    earlier.needed = {"Interfaces"};
    EXPECT_THAT(lines(), ElementsAre());
}

TEST_F(Frameworks, UnusableMessageSocketEndsTheStart) {
    Framework deaf(recorder, "/nonexistent/messages");
    EXPECT_FALSE(deaf.start(node));
    EXPECT_EQ(lines().back(), "stop earlier");
}

}  // namespace
