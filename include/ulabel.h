// ULabel: one line of text, or, while the text is empty, a row of glyphs of
// the application's icon font, aligned within the label's rectangle. The
// label clears its whole rectangle with the drawer's brush before drawing,
// so it can be repainted over its old content.
//
// Horizontal offsets from the left edge (W = getRect().getWidth(), that is
// right - left; w = content width; spare = W - w when W > w, else 0):
//   AlignLeft (and any unknown value)  1
//   AlignCenter                        spare / 2
//   AlignRight                         spare - 1 when spare > 1, else 0
//   AlignCenterShifted                 spare / 2 (text), spare / 2 + 2 (icons)
// Text is measured in the application's font, whatever font the label
// paints with, and drawn one row below the top edge; icons are measured as
// (width of the first icon) x (number of icons) and drawn two rows below.
// Drawing icons leaves the icon font set on the drawer.
#ifndef ULABEL_H
#define ULABEL_H

#include "utkexport.h"

#include <cstdint>

#include "ustring.h"
#include "uwidget.h"

class UTK_EXPORT ULabel : public UWidget {
public:
    enum TextAlignment : int32_t {
        AlignLeft = 0,
        AlignCenter = 1,
        AlignRight = 2,
        AlignCenterShifted = 3
    };

    ULabel(UWidget* parent, TextAlignment alignment);
    ~ULabel() override;

    void paintEvent(UPaintEvent* event, UDrawer& drawer) override;

    virtual void setText(const UString& text, bool marker);
    virtual UString getText() const;
    virtual void setIcon(unsigned short code);
    virtual unsigned short getIcon() const;
    virtual void setIcons(const UString& icons);
    virtual UString getIcons() const;

    void cleanRectBeforeDrawing(UDrawer& drawer);
    void drawAligmentText(UDrawer& drawer);
    int getRectWidthDiff(int width) const;
    int getRightSideXOffset(int width) const;
    int getAlignmentXOffsetBasedOnCurrentText() const;
    int getAlignmentXOffsetBasedOnCurrentIcons() const;

    TextAlignment getAlignment() const { return m_alignment; }
    bool getMarker() const { return m_marker; }

private:
    UString m_text;
    UString m_icons;
    TextAlignment m_alignment;
    bool m_marker;
};

#endif
