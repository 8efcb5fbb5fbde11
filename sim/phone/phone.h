// utk-phone: the whole phone on a PC. It creates the simulated LCD, the
// shared drawing buffer (System V key 200555) and the key pipe
// /tmp/kiv_keyboard, starts the desktop phonelet (ServerMode: it hosts the
// screen server and the key listener) and the client phonelets as
// processes of their own, shows the LCD after every flush (terminal, SDL
// window, PNG snapshots) and writes keys into the pipe, where the key
// listener reads them like the keypad driver's bytes.
//
// On exit (q or Ctrl-C, SIGINT or SIGTERM, the end of a script, or the
// desktop ending) it stops every process it started (SIGTERM, then SIGKILL
// after two seconds) and removes the pipe, the segment and the LCD file it
// created. The phonelets die with it even when it is killed itself
// (PR_SET_PDEATHSIG). A client phonelet that ends is reported and the phone
// goes on without it.
#ifndef UTK_SIM_PHONE_PHONE_H
#define UTK_SIM_PHONE_PHONE_H

#include <cstdint>
#include <string>
#include <vector>

#include "snapshot.h"

// A timed key script: one command a line, '#' starts a comment.
//   wait MS            pause
//   press KEY          key down (bit 7 clear)
//   release KEY        key up (bit 7 set)
//   tap KEY [MS]       press, hold MS (default 100), release
//   settle [MS]        until the screen has not changed for MS (default
//                      600; at most 15 s)
//   snap NAME          NAME.png (4x) and NAME.txt (text art) in the
//                      snapshot directory
//   kill PROGRAM [SIG] send a signal (default 9) to a started phonelet
//   quit               end the phone
// KEY is a name (see keymap.h) or a raw number.
struct ScriptStep {
    enum Kind { Wait, Press, Release, Tap, Settle, Snap, Kill, Quit } kind = Wait;
    int number = 0;   // milliseconds, raw key or signal
    int hold = 100;   // Tap: milliseconds between press and release
    std::string text; // Snap: name; Kill: program
    int line = 0;
};

// Parses a script; on a bad line, false and `error` says which and why.
bool parseScript(const std::string& text, std::vector<ScriptStep>& steps, std::string& error);

#endif
