// A private host for a test: "/etc" is empty, the test's own, and gone with the process.
#pragma once

// Moves the calling thread, and all that it starts, into a mount namespace with an empty "/etc".
// Ends the process with a message when that is not allowed.
void enter_scratch_host();
