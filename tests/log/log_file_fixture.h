// What lies in directories, and toolkits with one handler, of which some write to a file of the
// scratch directory.
#pragma once

#include <sys/stat.h>

#include <algorithm>
#include <set>

#include "log/file_log.h"
#include "log/object.h"
#include "tests/log/toolkit_fixture.h"

inline std::string content(const std::filesystem::path& path) {
    std::ifstream in(path, std::ios::binary);
    return in ? std::string(std::istreambuf_iterator<char>(in), {}) : "none";
}

// All files of a directory but the properties: "name:content ...".
inline std::string listing(const std::filesystem::path& directory) {
    std::set<std::string> found;
    for (const std::filesystem::path& path : std::filesystem::directory_iterator(directory)) {
        const std::string name = path.filename();
        if (name != "log.properties") found.insert(name + ":" + content(path));
    }
    std::string all;
    for (const std::string& entry : found) all += (all.empty() ? "" : " ") + entry;
    return all;
}

class HandlerTest : public ToolkitTest {
  protected:
    // Opens the toolkit with a logger whose only handler is of the class, and their properties.
    void open_handler(const std::string& class_name, const std::string& properties) {
        ASSERT_EQ(open("log.className=pmx_basiclogger\nlog.listenerNames=h\nh.className=" +
                       class_name + "\n" + properties),
                  1);
        logger = get("log");
        handler = get("h");
        recorded();
    }
    void write(const std::string& text) { PmxLogText(logger, text.c_str(), PMX_END); }
    void set(const char* property, const std::string& value) {
        PmxSetObjProp(handler, property, value.c_str());
    }
    // What is reported when a text is logged, or a property set.
    std::string report_of(const std::string& text) {
        return reported([&] { write(text); });
    }
    std::string report_of(const char* property, const std::string& value) {
        return reported([&] { set(property, value); });
    }

    PmxObject* logger = nullptr;
    PmxObject* handler = nullptr;
};

// The records are the messages of events alone, between a header and a trailer.
class LogFileTest : public HandlerTest {
  protected:
    void SetUp() override {
        ToolkitTest::SetUp();
        PmxAddFormatterClass(
            "plain", nullptr, nullptr, nullptr, nullptr,
            [](PmxObject*, PmxEvent* event) {
                return pmxIntlBindEventMsg(event, pmxIntlBindI18Msg);
            },
            [](PmxObject*) { return RakStringDup(framed ? "<" : ""); },
            [](PmxObject*) { return RakStringDup(framed ? ">" : ""); }, nullptr);
        framed = false;
        old_mask = umask(0);
    }
    void TearDown() override {
        ToolkitTest::TearDown();
        umask(old_mask);
    }

    // Opens the toolkit with a handler of the class for a file of the scratch directory, and its
    // properties.
    void log_to(const std::string& name, const std::string& properties = "",
                const std::string& handler_class = "pmx_filehandler") {
        file = directory.path() / name;
        open_handler(handler_class, "h.formatterName=f\nf.className=plain\nh.fileName=" +
                                        file.string() + "\n" + properties);
    }
    // Logs until the directory is watched, which is not worth its cost at once.
    void write_until_watched() {
        for (int i = 0; vars().watch.directory < 0 && i < 100; ++i) write("");
        EXPECT_GE(vars().watch.directory, 0);
    }
    // As if the second of the last look were over.
    void let_time_pass() { const_cast<vel::log::FileVars&>(vars()).looked_second = 0; }
    const vel::log::FileVars& vars() {
        return *static_cast<vel::log::FileVars*>(pmxIntlGetObjVars(handler));
    }

    std::string files() { return listing(directory.path()); }

    static inline bool framed;
    std::filesystem::path file;

  private:
    mode_t old_mask = 0;
};
