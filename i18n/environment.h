// The environment, and the strings that the library put there.
#pragma once

namespace vel::i18n {

// The value of a variable; null when it is unset or empty.
const char* variable(const char* name);

// Frees those that the environment no longer reads; the others stay until they are replaced.
void forget_environment();

}  // namespace vel::i18n
