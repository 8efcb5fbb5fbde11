// The death-test style for tests whose process has threads. "threadsafe"
// re-executes the test program for the child; a user-mode emulator (the armhf
// build's tests run under qemu-arm) cannot execute a target program from
// inside, so there the child is forked ("fast"). The emulator command that
// the armhf toolchain file sets up exports UTK_TEST_EMULATOR.
#ifndef UTK_TEST_DEATHSTYLE_H
#define UTK_TEST_DEATHSTYLE_H

#include <cstdlib>

inline const char* utkDeathTestStyle()
{
    return std::getenv("UTK_TEST_EMULATOR") ? "fast" : "threadsafe";
}

#endif
