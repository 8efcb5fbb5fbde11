// The calls that the call log lists and the call view dials, by index.
#ifndef UTK_EXAMPLES_CALLS_H
#define UTK_EXAMPLES_CALLS_H

struct Call {
    const char* name;
    const char* number;
    const char* when;
    unsigned short icon;
};

const Call CALLS[] = {
    {"Anna Berg", "0301234", "09:12", 0xE106},
    {"0301 998877", "0301998877", "08:47", 0xE105},
    {"Carl Dahl", "5550123", "Mon", 0xE107},
    {"Dora Ek", "4471", "Sun", 0xE106},
};
const unsigned CALL_COUNT = sizeof CALLS / sizeof CALLS[0];

#endif
