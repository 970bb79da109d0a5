// A tracer for those who work on this library: indented lines on standard error.
#pragma once

// How far lines are indented, in blanks. Not locked.
extern int CX_INTERNAL_TRACE_INDENT;

// Each writes "ENTER ", "LEAVE " or "... " and the formatted text, which brings its own line end.
// What is entered is indented, until it is left.
void cxIntlTraceEnter(const char* format, ...) __attribute__((format(printf, 1, 2)));
void cxIntlTraceLeave(const char* format, ...) __attribute__((format(printf, 1, 2)));
void cxIntlTracePoint(const char* format, ...) __attribute__((format(printf, 1, 2)));
