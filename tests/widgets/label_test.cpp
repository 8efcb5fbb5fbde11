// Labels: text and icon offsets for each alignment with their edge cases,
// and pictures in both positioning modes (which show each label clearing
// its whole rectangle with its brush).
#include "ulabel.h"
#include "widget_fixture.h"

namespace {

const unsigned short ICON_UP = 0xE100;   // 10 pixels wide
const unsigned short ICON_DOWN = 0xE101; // 10 pixels wide

ULabel* addLabel(UWidget* parent, ULabel::TextAlignment a, int l, int t, int r, int b)
{
    ULabel* label = new ULabel(parent, a);
    label->setCoordinates(static_cast<unsigned char>(l), static_cast<unsigned char>(t),
                          static_cast<unsigned char>(r), static_cast<unsigned char>(b));
    return label;
}

} // namespace

class LabelTest : public WidgetTest {};

// The pictures pin the ordinary offsets; a text wider than the rectangle
// starts at 0 right-aligned, and the spare width is compared as signed.
TEST_F(LabelTest, OffsetsAtTheEdges)
{
    std::unique_ptr<ULabel> l(addLabel(nullptr, ULabel::AlignRight, 10, 0, 109, 11)); // W = 99
    l->setText("Calls: 12 Calls: 12 Calls: 12", false);
    EXPECT_EQ(0, l->getAlignmentXOffsetBasedOnCurrentText());
    EXPECT_EQ(0, l->getRightSideXOffset(98)); // a spare 1: offset 0, not -1
    EXPECT_EQ(101, l->getRectWidthDiff(-2)); // compared as signed integers
}

// Texts in every alignment, an inverted one, one with a marker, icons
// centred and shifted, and a label whose text hides its icons.
static ULabel* buildLabels(UWidget& win)
{
    win.setCoordinates(0, 0, 119, 47);
    win.enableStyleFlag(UWidget::Border);
    for (int i = 0; i < 3; ++i)
        addLabel(&win, static_cast<ULabel::TextAlignment>(i), 1, 1 + 11 * i, 58, 11 + 11 * i)
            ->setText("Calls 12", false); // left, centre, right
    ULabel* inv = addLabel(&win, ULabel::AlignCenter, 1, 34, 58, 46);
    inv->enableStyleFlag(UWidget::Inverted);
    inv->setText("Menu", false);
    UString withMarker("Ab");
    withMarker.append(static_cast<unsigned short>(0xE000));
    addLabel(&win, ULabel::AlignLeft, 60, 1, 118, 14)->setText(withMarker, true);
    UString arrows(ICON_UP);
    arrows.append(ICON_DOWN);
    addLabel(&win, ULabel::AlignCenter, 60, 15, 89, 27)->setIcons(arrows);
    addLabel(&win, ULabel::AlignCenterShifted, 90, 15, 118, 27)->setIcon(ICON_DOWN);
    ULabel* both = addLabel(&win, ULabel::AlignRight, 60, 30, 118, 46);
    both->setIcons(arrows);
    both->setText("Text", false);
    return both;
}

TEST_F(LabelTest, Pictures)
{
    {
        UWidget win(nullptr);
        ULabel* both = buildLabels(win);
        win.refresh();
        drain();
        EXPECT_TRUE(textart::matchesGolden(screen->art(0, 0, 120, 48), "label_absolute"));
        both->setText(UString(), false); // the icons come back at the next paint
        both->refresh();
        drain();
        EXPECT_TRUE(textart::matchesGolden(screen->art(60, 30, 59, 17), "label_icons_after_text"));
    }
    UWidget::setPositioningMode(UWidget::Relative);
    UWidget win(nullptr);
    buildLabels(win)->setVisible(false);
    UWidget* panel = new UWidget(&win);
    panel->setCoordinates(62, 28, 118, 46);
    ULabel* inner = addLabel(panel, ULabel::AlignRight, 0, 2, 50, 14);
    inner->setText("OK", false);
    inner->enableStyleFlag(UWidget::Border); // the label's own clearing covers it
    win.setCoordinates(70, 0, 189, 47);
    screen->clear();
    win.refresh();
    drain();
    EXPECT_TRUE(textart::matchesGolden(screen->art(70, 0, 129, 48), "label_relative"));
}
