// An open toolkit with classes that record what happens to their objects.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <sstream>
#include <string>
#include <vector>

#include "log/event.h"
#include "log/pmx.h"
#include "runtime/owned.h"
#include "tests/support/scratch_directory.h"

// A text that the caller got; "-" for none.
inline std::string taken(char* text) {
    const vel::runtime::OwnedText owned(text);
    return text == nullptr ? "-" : text;
}

// The texts of a group, each with a blank behind it.
inline std::string texts(PmxStringGroupLink* it) {
    std::string all;
    for (; PmxStringGroupIterHasNext(it); it = PmxStringGroupIterNext(it)) {
        all += taken(PmxStringGroupIterGet(it)) + " ";
    }
    return all;
}

// An event of 2024-01-02 14:03:09.045 UTC, to be freed; its arguments and properties end with
// PMX_END.
inline PmxEvent* make_event(int32_t level, const char* text, ...) {
    va_list arguments;
    va_start(arguments, text);
    PmxEvent* const event = PmxVaAllocEvent(level, nullptr, 0, 0, text, arguments);
    va_end(arguments);
    event->time = 1'704'204'189'045;
    return event;
}

// Sets properties, of "key value key value".
template <class T>
void set_pairs(T* of, int (*set)(T*, const char*, const char*), const char* text) {
    std::istringstream pairs(text);
    for (std::string key, value; pairs >> key >> value;) set(of, key.c_str(), value.c_str());
}

class ToolkitTest : public testing::Test {
  protected:
    void SetUp() override {
        log.clear();
        add_classes();
    }
    void TearDown() override { PmxCloseToolkit(); }

    // "test_handler" notes the text of an event, and "test_logger" each property that is set.
    static void add_classes() {
        PmxAddHandlerClass("test_handler", nullptr, nullptr, nullptr, note_change, note_event,
                           nullptr, note_close);
        PmxAddLoggerClass("test_logger", nullptr, alloc_vars, free_vars, note_change, nullptr);
        PmxAddFilterClass("test_filter", nullptr, nullptr, nullptr, PmxBasicObjectFCfgChange,
                          nullptr, nullptr, nullptr);
    }

    int open(const std::string& properties) {
        return PmxOpenToolkit(directory.write("log.properties", properties).c_str());
    }

    static PmxObject* get(const char* name, const char* class_name = nullptr) {
        return PmxGetObject(name, class_name);
    }

    // A new logger with one handler, recording or of an operation; both end with the toolkit.
    static PmxObject* recorded_logger(const char* handler_class = "test_handler") {
        PmxObject* const logger = get("logger", "pmx_basiclogger");
        PmxAddListener(logger, get("recorder", handler_class));
        return logger;
    }
    static PmxObject* logger_to(void (*process)(PmxObject*, PmxEvent*, uint32_t)) {
        PmxAddHandlerClass("own", nullptr, nullptr, nullptr, nullptr, process, nullptr, nullptr);
        return recorded_logger("own");
    }

    // What has been recorded since the last call, with blanks between.
    static std::string recorded() {
        std::string all;
        for (const std::string& entry : log) all += (all.empty() ? "" : " ") + entry;
        log.clear();
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

    static inline std::vector<std::string> log;
    ScratchDirectory directory;

  private:
    static void* alloc_vars() { return new int(1); }
    static void free_vars(void* vars) {
        delete static_cast<int*>(vars);
        log.emplace_back("freed");
    }
    static void note_change(PmxObject* object, const char* property) {
        log.push_back(std::string(property) + "=" +
                      taken(pmxIntlGetObjProp(object, property, nullptr)));
        PmxBasicHandlerFCfgChange(object, property);
    }
    static void note_event(PmxObject* handler, PmxEvent* event, uint32_t kind) {
        log.push_back(taken(pmxIntlGetObjectName(handler)) + std::to_string(kind) + ":" +
                      taken(pmxIntlBindEventMsg(event, pmxIntlBindI18Msg)));
        PmxBasicObjectFLog(handler, event);
    }
    static void note_close(PmxObject* handler) {
        log.push_back("close:" + taken(pmxIntlGetObjectName(handler)));
    }
};

class OpenToolkitTest : public ToolkitTest {
  protected:
    void SetUp() override {
        ToolkitTest::SetUp();
        ASSERT_EQ(open(""), 1);
    }
};
