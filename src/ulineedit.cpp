#include "ulineedit.h"

#include <cstdint>

#include "udrawer.h"
#include "ukeyevent.h"
#include "ukeys.h"
#include "utimer.h"

ULineEdit::ULineEdit(UWidget* parent)
    : UWidget(parent), m_text(), m_blinkTimer(new UTimer(this, 500)), m_cursorVisible(false)
{
    m_blinkTimer->start();
}

ULineEdit::~ULineEdit()
{
    m_blinkTimer->stop();
    delete m_blinkTimer;
    m_blinkTimer = nullptr;
}

bool ULineEdit::keyEvent(UKeyEvent* event)
{
    if (event->m_state != KEY_RELEASED)
        return false;
    const unsigned short key = event->m_key;
    if (key == KEY_LEFT) {
        if (!m_text.isEmpty())
            m_text.resize(m_text.length() - 1);
        else
            emit(UEvent::LineEditDelete);
    } else if (key >= KEY_0 && key <= KEY_9) {
        m_text.append(key);
    } else {
        return false;
    }
    refresh();
    return true;
}

void ULineEdit::timerEvent(UTimerEvent*)
{
    m_cursorVisible = !m_cursorVisible;
    refresh();
}

void ULineEdit::paintEvent(UPaintEvent*, UDrawer& drawer)
{
    const uint16_t h = getRect().getHeight();
    drawer.drawText(m_text, 0, 2, false);
    if (m_cursorVisible) {
        const uint16_t w = UDrawer::textWidth(m_text, drawer.font());
        drawer.drawLine(w, 2, w, static_cast<uint16_t>(h - 2));
    }
}
