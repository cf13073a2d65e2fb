// Runs a test body in a fresh process. The library loads its tuning once per
// process, so a case that needs the first call's state runs in a forked
// child; the child's failures fail the calling test.
#pragma once

#include <functional>

void inFreshProcess(const std::function<void()>& body);
