#include "log/properties_reader.h"

#include <sys/stat.h>

#include "tests/log/toolkit_fixture.h"

using testing::internal::CaptureStderr;
using testing::internal::GetCapturedStderr;

// The entries of a list, and at the end "!" when reading failed.
static std::string entries(const std::string& path) {
    CxPropList list{};
    const int read = CxPropListRead(&list, path.c_str());
    std::string all;
    for (int i = 0; i < list.count; ++i) {
        all += std::string(list.pairs[i].key) + "=" + list.pairs[i].value + ";";
    }
    CxPropListDiscard(&list);
    return all + (read ? "" : "!");
}

// fuzz/properties_reader.cpp holds the reader against a model; here is what is odd in that.
TEST_F(ToolkitTest, ReadsPropertiesByTheirSyntax) {
    const std::pair<std::string, std::string> rows[] = {
        {"a.b.c = x y \\\n  z\n! b=2\r\n\nb:2\nc 3", "a.b.c=x y z;b=2;c=3;"},
        {":a=1\n\\b=2\n", ":a=1;\\b=2;"},
        {"a=1\nb=", "a=1;b=;"},
        {"a=\n", "!"},
        {"a=1\nb", "a=1;b=;"},
        {"a=\\u0041\nb=\\U0001", "a=A;b=B;"},
        {"a=\\u00e9\\u000F", "a=IN;"},  // letters count from 0, and codes add up
        {std::string("a=1\0z\nb=2", 9), "a=1;b=2;"},
    };
    for (const auto& [text, pairs] : rows) {
        EXPECT_EQ(entries(directory.write("p", text)), pairs) << text;
    }
}

TEST_F(ToolkitTest, SaysWhichPropertyHasABadEscape) {
    CaptureStderr();
    EXPECT_EQ(entries(directory.write("p", "a.b=1\nc.d=x\\n\n")), "a.b=1;!");
    EXPECT_EQ(GetCapturedStderr(),
              "PMX0052E The value of property 'c.d' in the properties file could not be parsed, "
              "because it contains a backslash character that is not part of a valid escape "
              "sequence.\n");
}

TEST_F(OpenToolkitTest, RefusesEntriesThatNameNoConfiguration) {
    for (const char* text : {"plain=1", ".b=1", "a.=1", "a.b="}) {
        EXPECT_EQ(PmxLogMgrReadProps(directory.write("p", text).c_str()), 0) << text;
    }
    EXPECT_EQ(PmxLogMgrReadProps(directory.write("p", "a..b=1\nx.y.z=2").c_str()), 1);
    EXPECT_EQ(PmxLogMgrHasCfg("a.") + PmxLogMgrHasCfg("x.y"), 2);
    EXPECT_EQ(PmxLogMgrReadProps(nullptr), 0);
}

// No waiting for a writer, no reading without end.
TEST_F(ToolkitTest, ReadsRegularFilesOnly) {
    const std::string fifo = directory.path() / "fifo";
    ASSERT_EQ(mkfifo(fifo.c_str(), 0600), 0);
    for (const std::string& path : {fifo, std::string("/dev/zero"), directory.path().string()}) {
        EXPECT_EQ(entries(path), "!") << path;
    }
    CxPropList list{};
    EXPECT_EQ(CxPropListRead(&list, nullptr) + CxPropListRead(nullptr, fifo.c_str()), 0);
}
