// UGlobal: process-wide enumerations shared by several classes.
#ifndef UGLOBAL_H
#define UGLOBAL_H

#include "utkexport.h"

class UTK_EXPORT UGlobal {
public:
    // The application's locale. It only selects how text is shaped
    // (direction, script and language handed to the shaper); any value
    // not listed shapes as Latin.
    enum ULocale {
        Latin = 0,
        Hangul = 1,
        Han = 2,
        Katakana = 3,
        Arabic = 4
    };
};

#endif
