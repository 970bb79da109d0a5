// The toolkit's own classes, in the order of their registration.
#include "log/classes.h"

namespace vel::log {

std::span<const ClassDefinition* const> builtin_classes() {
    static constexpr const ClassDefinition* kClasses[] = {
        &kBasicLoggerClass,        &kPDLoggerClass,        &kLevelFilterClass,
        &kMsgIdFilterClass,        &kConsoleHandlerClass,  &kStderrHandlerClass,
        &kFileHandlerClass,        &kHVNHandlerClass,      &kMultiProcFileHandlerClass,
        &kBasicFormatterClass,     &kXMLFormatterClass,    &kTraceFormatterClass,
        &kFFDCTriggerHandlerClass, &kFileCopyHandlerClass,
    };
    return kClasses;
}

}  // namespace vel::log
