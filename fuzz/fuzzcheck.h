// Helpers shared by the fuzz targets.
//
// FUZZ_CHECK: a check that stays on in every build type; a failure names
// the file, the line and the condition on standard error and aborts, which
// libFuzzer reports as a crash with the input that caused it.
#ifndef UTK_FUZZ_FUZZCHECK_H
#define UTK_FUZZ_FUZZCHECK_H

#include <fcntl.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>

#define FUZZ_CHECK(cond)                                                       \
    do {                                                                       \
        if (!(cond)) {                                                         \
            std::fprintf(stderr, "%s:%d: check failed: %s\n", __FILE__,        \
                         __LINE__, #cond);                                     \
            std::abort();                                                      \
        }                                                                      \
    } while (0)

// Sends standard output to /dev/null: the classes under test print a
// diagnostic line for every input they refuse, which would drown the
// fuzzer's own report.
inline void fuzzSilenceStdout()
{
    const int devnull = open("/dev/null", O_WRONLY);
    if (devnull >= 0) {
        dup2(devnull, STDOUT_FILENO);
        close(devnull);
    }
}

#endif
