#include "log/config.h"

#include "tests/log/toolkit_fixture.h"

// The references that a test has taken of configurations.
class ConfigTest : public OpenToolkitTest {
  protected:
    void TearDown() override {
        for (PmxObjCfg* const taken : taken_) PmxReleaseObjCfg(taken);
        ToolkitTest::TearDown();
    }
    PmxObjCfg* cfg(const char* name) {
        PmxObjCfg* const got = PmxLogMgrGetCfg(name);
        if (got != nullptr) taken_.push_back(got);
        return got;
    }
    std::string parent(const char* name) {
        const vel::log::CfgRef its = vel::log::CfgRef::adopt(PmxObjCfgGetParent(cfg(name)));
        return its ? taken(PmxObjCfgGetName(its.get())) : "/";
    }
    std::string children(const char* name) { return texts(PmxObjCfgChildrenNames(cfg(name))); }

    std::vector<PmxObjCfg*> taken_;
};

TEST_F(ConfigTest, PlacesANameUnderItsNearestAncestorThatThereIs) {
    for (const char* name : {"a", "a.b.c", "a.b", "x.y", "x"}) cfg(name);
    EXPECT_EQ(parent("a.b.c") + parent("a.b") + parent("a") + parent("x.y"), "aa//");
    EXPECT_EQ(children("a"), "a.b.c a.b ");
    EXPECT_EQ(children("a.b") + children("x"), "");
    EXPECT_EQ(cfg("/"), nullptr);
    EXPECT_EQ(cfg(nullptr), nullptr);
    EXPECT_EQ(texts(PmxLogMgrConfigNames()).find("a a.b.c a.b x.y x ") != std::string::npos, true);
}

TEST_F(ConfigTest, InheritsFromTheNearestThatHasIt) {
    for (const char* name : {"a", "a.b", "a.b.c"}) cfg(name);
    PmxSetObjCfgPropInt(cfg("a"), "p", 1);
    PmxSetObjCfgPropBool(cfg("a"), "q", 1);
    PmxSetObjCfgPropInt(cfg("a.b"), "p", 2);
    int found = 0;
    EXPECT_EQ(PmxGetObjCfgPropInt(cfg("a.b.c"), "p", &found) + found, 3);
    EXPECT_EQ(PmxGetObjCfgPropBool(cfg("a.b.c"), "q", &found) + found, 2);
    EXPECT_EQ(taken(PmxGetObjCfgProp(cfg("a.b.c"), "r", &found)), "-");
    EXPECT_EQ(found, 0);
    EXPECT_EQ(PmxObjCfgProperties(cfg("a.b.c")), nullptr);
}

TEST_F(ConfigTest, RemovesAndUpdatesPlaces) {
    for (const char* name : {"a", "a.b", "a.b.c", "a.b.d"}) cfg(name);
    EXPECT_EQ(PmxLogMgrRemCfg(cfg("a.b")), 1);
    EXPECT_EQ(children("a"), "a.b.c a.b.d ");
    EXPECT_EQ(parent("a.b.c") + std::to_string(PmxLogMgrHasCfg("a.b")), "a0");
    PmxObjCfg* const a = cfg("a");
    EXPECT_EQ(PmxLogMgrRemCfg(a) + PmxLogMgrRemCfg(a) + PmxLogMgrUpdateCfg(a), 1);
    EXPECT_EQ(PmxLogMgrHasCfg("a"), 0);
    EXPECT_EQ(taken(PmxGetObjCfgProp(cfg("a.b.c"), "p", nullptr)), "-");
    EXPECT_EQ(PmxLogMgrHasCfg("a"), 1);  // made anew, for its child still records it
    EXPECT_EQ(children("a"), "");
    EXPECT_EQ(PmxLogMgrAddCfg(a), 0);
    EXPECT_EQ(PmxLogMgrUpdateCfg(cfg("a.b.c")), 1);
    EXPECT_EQ(children("a"), "a.b.c ");
}

TEST_F(ConfigTest, MovesChildrenThatRecordAnotherParentUnderANewSibling) {
    for (const char* name : {"a", "a.b.c", "a.d"}) cfg(name);
    PmxObjCfgSetParent(cfg("a.b.c"), cfg("elsewhere"));
    cfg("a.b");
    EXPECT_EQ(children("a") + "/ " + children("a.b"), "a.d a.b / a.b.c ");
    EXPECT_EQ(parent("a.b.c"), "a.b");
}

TEST_F(ConfigTest, NamesAChildOnceThoughAnotherOfItsNameWasRemoved) {
    cfg("a");
    PmxObjCfg* const stale = cfg("a.b.c");  // records a as its parent
    PmxLogMgrRemCfg(stale);
    for (const char* name : {"a.b", "a.b.c"}) cfg(name);
    EXPECT_EQ(PmxLogMgrRemCfg(stale) + PmxLogMgrHasCfg("a.b.c"), 1);
    cfg("a.b.c");
    EXPECT_EQ(children("a.b"), "a.b.c ");
}

TEST_F(ConfigTest, EndsInheritanceWhereParentsFormARing) {
    PmxObjCfgAddChild(cfg("a"), cfg("b"));
    PmxObjCfgAddChild(cfg("b"), cfg("a"));
    PmxObjCfgAddChild(cfg("self"), cfg("self"));
    PmxSetObjCfgProp(cfg("a"), "className", "test_logger");
    EXPECT_EQ(taken(PmxGetObjCfgProp(cfg("b"), "className", nullptr)), "test_logger");
    EXPECT_EQ(taken(PmxGetObjCfgProp(cfg("b"), "none", nullptr)), "-");
    EXPECT_EQ(taken(PmxGetObjCfgProp(cfg("self"), "none", nullptr)), "-");
    EXPECT_NE(get("b"), nullptr);
    EXPECT_EQ(recorded(), "className=test_logger");
    EXPECT_EQ(PmxLogMgrUpdateCfg(cfg("self")), 1);
    EXPECT_EQ(PmxObjCfgRemChild(cfg("b"), cfg("a")) + PmxObjCfgRemChild(cfg("b"), cfg("a")), 1);
}

TEST_F(ConfigTest, AppliesAncestorsFirst) {
    PmxLoadAdditionalProperties(
        directory.write("more", "a.p=1\na.q=2\na.b.p=3\na.b.className=test_logger\n").c_str());
    EXPECT_EQ(PmxObjCfgIsFromFile(cfg("a.b")) + PmxObjCfgIsFromFile(cfg("new")), 1);
    PmxObject* const object = get("a.b");
    EXPECT_EQ(recorded(), "p=1 q=2 p=3 className=test_logger");
    PmxSetObjCfgProp(cfg("a.b"), "p", "4");  // objects do not learn of it
    EXPECT_EQ(recorded(), "");
    EXPECT_EQ(PmxLogMgrApplyCfg(object, "a"), 1);
    EXPECT_EQ(recorded(), "p=1 q=2");
    EXPECT_EQ(PmxLogMgrApplyCfg(object, "/") + PmxLogMgrApplyCfg(nullptr, "a"), 0);
}

// A configuration that is being applied brings about another climb by the same parents.
TEST_F(ConfigTest, AppliesAParentThatLeadsBackToItself) {
    PmxLoadAdditionalProperties(
        directory.write("more", "a.className=test_handler\na.b.listenerNames=a.c a.b\n").c_str());
    PmxObject* const object = get("a.b");
    EXPECT_EQ(recorded(), "className=test_handler listenerNames=a.c a.b className=test_handler");
    PmxListenerGroupLink* it = PmxGetListeners(object);
    EXPECT_NE(PmxListenerGroupIterNext(it), nullptr);
}

TEST_F(ConfigTest, TakesAConfigurationOfNoPlace) {
    PmxObjCfg* const own = PmxAllocObjCfg("own.one");
    taken_.push_back(own);
    EXPECT_EQ(PmxSetObjCfgPropDouble(own, "d", 0.5) + PmxSetObjCfgProp(own, "null", nullptr), 1);
    PmxObjCfgSetParent(own, nullptr);
    PmxObjCfgSetParent(own, cfg("other"));
    EXPECT_EQ(PmxLogMgrAddCfg(own) + PmxLogMgrAddCfg(own), 1);
    EXPECT_EQ(children("other"), "own.one ");
    EXPECT_EQ(PmxGetObjCfgPropDouble(cfg("own.one"), "d", nullptr), 0.5);
    EXPECT_EQ(PmxAllocObjCfg(nullptr), nullptr);
}
