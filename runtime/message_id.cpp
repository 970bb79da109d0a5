// Message identifiers, by the number of their letters and digits.
#include <cstddef>
#include <cstring>

#include "runtime/cx_os.h"
#include "runtime/cx_text.h"

static_assert(sizeof(CxMessageID) == 32);
static_assert(offsetof(CxMessageID, severity) == offsetof(CxMessageID, identifier) + 10);

namespace {

struct Form {
    unsigned letters;
    unsigned digits;
    uint32_t code;
    const char* label;
};
constexpr Form kForms[] = {
    {3, 3, 331, "ORX3.3.1"}, {3, 4, 341, "ORX3.4.1"}, {3, 5, 351, "ORX3.5.1"},
    {3, 6, 361, "ORX3.6.1"}, {4, 3, 431, "ORX4.3.1"}, {4, 4, 441, "ORX4.4.1"},
    {4, 5, 451, "ORX4.5.1"}, {5, 2, 521, "ORX5.2.1"}, {5, 3, 531, "ORX5.3.1"},
    {5, 4, 541, "ORX5.4.1"}, {6, 3, 631, "ORX6.3.1"},
};
constexpr unsigned kMaxIdentifier = sizeof CxMessageID::identifier;

bool is_severity(char c) { return c == 'I' || c == 'W' || c == 'E'; }

// How many characters of a class the text begins with, `most` at most.
unsigned run_of(int (*is_member)(int), const char* text, unsigned most) {
    unsigned length = 0;
    while (length < most && is_member(text[length])) ++length;
    return length;
}

}  // namespace

CxMessageID CxParseQRAID(const char* text) {
    CxMessageID id{};
    id.format = "";
    if (text == nullptr) return id;
    // All forms end before the longest has its severity.
    const unsigned letters = run_of(CxIsASCIIAlpha, text, kMaxIdentifier - 1);
    const unsigned digits = run_of(CxIsASCIIDigit, text + letters, kMaxIdentifier - 1 - letters);
    const unsigned length = letters + digits + 1;
    if (!is_severity(text[length - 1])) return id;
    for (const Form& form : kForms) {
        if (form.letters != letters || form.digits != digits) continue;
        id.format = form.label;
        id.code = form.code;
        id.length = length;
        id.severity = text[length - 1];
        memcpy(id.identifier, text, length);
        // The zero behind ten characters falls on the severity, which reads 0 then: users of the
        // record know it so.
        (length < kMaxIdentifier ? id.identifier[length] : id.severity) = '\0';
        return id;
    }
    return id;
}
