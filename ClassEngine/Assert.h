// Assertions that log and go on. The first failure of a run also asks the user
// whether to go on (Retry) or stop (Cancel); the first twenty are logged with
// their call stack; from the twenty-first on nothing is logged or shown, but
// the count still grows and the program still goes on.
#pragma once

#define MV_ASSERT(expr) ((expr) ? (void)0 : AssertFailed(__FILE__, __LINE__, #expr))

void AssertFailed(const char* file, int line, const char* expression);

// How many assertions failed in this run.
int AssertionCount();
// Starts the count again (tests only).
void ResetAssertionCount();
