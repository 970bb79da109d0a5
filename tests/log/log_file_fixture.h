// A toolkit whose only handler writes to a file of a scratch directory.
#pragma once

#include <sys/stat.h>

#include <algorithm>

#include "log/file_log.h"
#include "log/object.h"
#include "tests/log/toolkit_fixture.h"

// The records are the messages of events alone, between a header and a trailer.
class LogFileTest : public ToolkitTest {
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
        ASSERT_EQ(open("log.className=pmx_basiclogger\nlog.listenerNames=h\n"
                       "h.className=" +
                       handler_class + "\nh.formatterName=f\nf.className=plain\nh.fileName=" +
                       file.string() + "\n" + properties),
                  1);
        logger = get("log");
        handler = get("h");
    }
    void write(const char* text) { PmxLogText(logger, text, PMX_END); }
    // Logs until the directory is watched, which is not worth its cost at once.
    void write_until_watched() {
        for (int i = 0; vars().watch.directory < 0 && i < 100; ++i) write("");
        EXPECT_GE(vars().watch.directory, 0);
    }
    // As if the second of the last look were over.
    void let_time_pass() { const_cast<vel::log::FileVars&>(vars()).looked_second = 0; }
    void set(const char* property, const std::string& value) {
        PmxSetObjProp(handler, property, value.c_str());
    }
    const vel::log::FileVars& vars() {
        return *static_cast<vel::log::FileVars*>(pmxIntlGetObjVars(handler));
    }

    static std::string content(const std::filesystem::path& path) {
        std::ifstream in(path, std::ios::binary);
        return in ? std::string(std::istreambuf_iterator<char>(in), {}) : "none";
    }
    // All files of the scratch directory but the properties: "name:content ...".
    std::string files() {
        std::vector<std::string> found;
        for (const auto& entry : std::filesystem::directory_iterator(directory.path())) {
            const std::string name = entry.path().filename();
            if (name != "log.properties") found.push_back(name + ":" + content(entry.path()));
        }
        std::sort(found.begin(), found.end());
        std::string all;
        for (const std::string& entry : found) all += (all.empty() ? "" : " ") + entry;
        return all;
    }
    // What the toolkit says meanwhile, without dates, lines joined by "|".
    template <class Action>
    static std::string reported(Action action) {
        testing::internal::CaptureStderr();
        action();
        std::istringstream lines(testing::internal::GetCapturedStderr());
        std::string all;
        constexpr size_t kDate = sizeof "2024-01-02 14:03:09.045+01:00";
        for (std::string line; std::getline(lines, line);) {
            all += (all.empty() ? "" : "|") + line.substr(std::min(kDate, line.size()));
        }
        return all;
    }

    static inline bool framed;
    std::filesystem::path file;
    PmxObject* logger = nullptr;
    PmxObject* handler = nullptr;

  private:
    mode_t old_mask = 0;
};
