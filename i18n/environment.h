// The strings that the library put into the environment.
#pragma once

namespace vel::i18n {

// Frees those that the environment no longer reads; the others stay until they are replaced.
void forget_environment();

}  // namespace vel::i18n
