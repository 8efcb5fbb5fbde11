// ULineEdit: a one-line entry field for digits as keyed on the keypad.
//
// Keys act on release only (state KEY_RELEASED): KEY_0 to KEY_9 append
// their digit, KEY_LEFT deletes the last character; every other key, and
// every press or repeat, is left to others (keyEvent returns false). When
// KEY_LEFT is released on an empty field, the field emits a plain UEvent of
// type 4 (UEvent::LineEditDelete) to its listener, nothing when it has
// none. Text is only appended and deleted at its end.
//
// A blinking cursor stands after the text: the field owns a periodic
// 500 ms timer, started in the constructor and stopped and destroyed in
// the destructor; each timer event toggles the cursor and refreshes, so
// the cursor blinks with a period of one second (also while hidden, when
// the refreshes post nothing).
//
// Painting: the text is drawn at (0, 2) of the drawer, that is the
// parent's top-left corner in Relative positioning mode and the screen's
// in Absolute mode, not the field's own left edge; the cursor is the
// column x = text width (in the drawer's font) from y 2 to height - 2,
// where height is getRect().getHeight() (bottom - top). The field does not
// clear its rectangle: give it the Background style flag so that old text
// and cursor disappear.
#ifndef ULINEEDIT_H
#define ULINEEDIT_H

#include "utkexport.h"

#include "ustring.h"
#include "uwidget.h"

class UTimer;
class UTimerEvent;

class UTK_EXPORT ULineEdit : public UWidget {
public:
    explicit ULineEdit(UWidget* parent);
    ~ULineEdit() override;

    bool keyEvent(UKeyEvent* event) override;
    void timerEvent(UTimerEvent* event) override;
    void paintEvent(UPaintEvent* event, UDrawer& drawer) override;

    void setText(const UString& text) { m_text = text; }
    UString getText() const { return m_text; }
    bool isCursorVisible() const { return m_cursorVisible; }

private:
    UString m_text;
    UTimer* m_blinkTimer;
    bool m_cursorVisible;
};

#endif
