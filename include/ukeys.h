// Key codes and key states carried by UKeyEvent (m_key and m_state).
//
// Every code lies below 128 so that it fits the one byte that the
// screen-sharing datagrams give it. The digit, star, hash, plus, comma,
// minus and period codes equal the ASCII codes of those characters. The
// keypad also produces the codes 14 to 22 for keys that have no name here;
// 0 is what an unmapped raw key number becomes.
#ifndef UKEYS_H
#define UKEYS_H

enum UKeyCode : unsigned short {
    KEY_NONE = 0,
    KEY_LEFT = 1,
    KEY_UP = 2,
    KEY_RIGHT = 3,
    KEY_DOWN = 4,
    KEY_SELECT = 13,
    KEY_HASH = 35,
    KEY_STAR = 42,
    KEY_PLUS = 43,
    KEY_COMMA = 44,
    KEY_MINUS = 45,
    KEY_PERIOD = 46,
    KEY_0 = 48,
    KEY_1 = 49,
    KEY_2 = 50,
    KEY_3 = 51,
    KEY_4 = 52,
    KEY_5 = 53,
    KEY_6 = 54,
    KEY_7 = 55,
    KEY_8 = 56,
    KEY_9 = 57
};

enum UKeyState : int {
    KEY_RELEASED = 0, // a release record was read
    KEY_PRESSED = 1,  // a press record was read
    KEY_HELD = 2      // repeat, once a second while the key stays down
};

#endif
