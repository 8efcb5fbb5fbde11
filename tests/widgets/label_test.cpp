// Labels: text and icon offsets for each alignment with their edge cases,
// clearing, and pictures in both positioning modes.
#include "textart.h"
#include "ufontmanager.h"
#include "ulabel.h"
#include "widget_fixture.h"

namespace {

class LabelTest : public WidgetTest {
protected:
    void SetUp() override
    {
        WidgetTest::SetUp();
        const std::string dir = std::string(UTK_SOURCE_DIR) + "/fonts/";
        app->fontManager()->loadFont(dir + "utk-text-12.bdf", "text");
        app->fontManager()->loadFont(dir + "utk-icons-10.bdf", "icons");
        app->setFont("text");
        app->setIconFont("icons");
    }
};

const unsigned short ICON_UP = 0xE100;   // 10 pixels wide
const unsigned short ICON_DOWN = 0xE101; // 10 pixels wide
const unsigned short ICON_WIDE = 0xE104; // 12 pixels wide

} // namespace

TEST_F(LabelTest, OffsetsForEachAlignment)
{
    ULabel left(nullptr, ULabel::AlignLeft);
    ULabel center(nullptr, ULabel::AlignCenter);
    ULabel shifted(nullptr, ULabel::AlignCenterShifted);
    ULabel right(nullptr, ULabel::AlignRight);
    ULabel odd(nullptr, static_cast<ULabel::TextAlignment>(7));
    UString icons(ICON_UP);
    icons.append(ICON_WIDE); // measured as wide as the first: 20 in all
    for (ULabel* l : {&left, &center, &shifted, &right, &odd}) {
        l->setCoordinates(10, 0, 109, 11); // W = 99
        l->setText("Calls: 12", false);    // 40 pixels
        l->setIcons(icons);
    }
    ASSERT_EQ(40, UDrawer::textWidth("Calls: 12"));
    EXPECT_EQ(1, left.getAlignmentXOffsetBasedOnCurrentText());
    EXPECT_EQ(29, center.getAlignmentXOffsetBasedOnCurrentText());
    EXPECT_EQ(29, shifted.getAlignmentXOffsetBasedOnCurrentText());
    EXPECT_EQ(58, right.getAlignmentXOffsetBasedOnCurrentText());
    EXPECT_EQ(1, odd.getAlignmentXOffsetBasedOnCurrentText());
    right.setFont("icons"); // text is measured in the application's font
    EXPECT_EQ(58, right.getAlignmentXOffsetBasedOnCurrentText());

    EXPECT_EQ(1, left.getAlignmentXOffsetBasedOnCurrentIcons());
    EXPECT_EQ(39, center.getAlignmentXOffsetBasedOnCurrentIcons());
    EXPECT_EQ(41, shifted.getAlignmentXOffsetBasedOnCurrentIcons());
    EXPECT_EQ(78, right.getAlignmentXOffsetBasedOnCurrentIcons());
    EXPECT_EQ(1, odd.getAlignmentXOffsetBasedOnCurrentIcons());

    // Wider than the rectangle: 0 centred or right-aligned, 1 left-aligned.
    for (ULabel* l : {&left, &center, &right})
        l->setText("Calls: 12 Calls: 12 Calls: 12", false);
    EXPECT_EQ(1, left.getAlignmentXOffsetBasedOnCurrentText());
    EXPECT_EQ(0, center.getAlignmentXOffsetBasedOnCurrentText());
    EXPECT_EQ(0, right.getAlignmentXOffsetBasedOnCurrentText());
    // A spare width of exactly 1 gives a right-side offset of 0, not -1.
    EXPECT_EQ(1, right.getRectWidthDiff(98));
    EXPECT_EQ(0, right.getRightSideXOffset(98));
    EXPECT_EQ(1, right.getRightSideXOffset(97));
    EXPECT_EQ(101, right.getRectWidthDiff(-2)); // compared as signed integers

    center.setIcon(0); // glyph 0, not "no icon"
    EXPECT_EQ(0, center.getIcon());
    EXPECT_EQ(1u, center.getIcons().length());
}

TEST_F(LabelTest, PaintingClearsTheWholeRectangleWithTheBrush)
{
    UWidget win(nullptr);
    ULabel* l = new ULabel(&win, ULabel::AlignCenter);
    l->setCoordinates(2, 2, 9, 5);
    fillInk(URect(0, 0, 12, 8));
    win.refresh();
    drain();
    EXPECT_EQ(12 * 8 - 8 * 4, screen->inkCount());
    EXPECT_EQ(0, screen->pixel(10, 5));
    l->enableStyleFlag(UWidget::Inverted);
    win.refresh();
    drain();
    EXPECT_EQ(12 * 8, screen->inkCount());
}

// Texts in every alignment, an inverted one, one with a marker, icons
// centred and shifted, and a label whose text hides its icons.
static ULabel* buildLabels(UWidget& win)
{
    win.setCoordinates(0, 0, 119, 47);
    win.enableStyleFlag(UWidget::Border);
    const ULabel::TextAlignment aligns[] = {ULabel::AlignLeft, ULabel::AlignCenter,
                                            ULabel::AlignRight};
    for (int i = 0; i < 3; ++i) {
        ULabel* l = new ULabel(&win, aligns[i]);
        l->setCoordinates(1, static_cast<unsigned char>(1 + 11 * i), 58,
                          static_cast<unsigned char>(11 + 11 * i));
        l->setText("Calls 12", false);
    }
    ULabel* inv = new ULabel(&win, ULabel::AlignCenter);
    inv->setCoordinates(1, 34, 58, 46);
    inv->enableStyleFlag(UWidget::Inverted);
    inv->setText("Menu", false);
    ULabel* marked = new ULabel(&win, ULabel::AlignLeft);
    marked->setCoordinates(60, 1, 118, 14);
    UString withMarker("Ab");
    withMarker.append(static_cast<unsigned short>(0xE000));
    marked->setText(withMarker, true);

    UString arrows(ICON_UP);
    arrows.append(ICON_DOWN);
    ULabel* centred = new ULabel(&win, ULabel::AlignCenter);
    centred->setCoordinates(60, 15, 89, 27);
    centred->setIcons(arrows);
    ULabel* shifted = new ULabel(&win, ULabel::AlignCenterShifted);
    shifted->setCoordinates(90, 15, 118, 27);
    shifted->setIcon(ICON_DOWN);
    ULabel* both = new ULabel(&win, ULabel::AlignRight);
    both->setCoordinates(60, 30, 118, 46);
    both->setIcons(arrows);
    both->setText("Text", false);
    return both;
}

TEST_F(LabelTest, PictureAbsolute)
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

TEST_F(LabelTest, PictureRelative)
{
    UWidget::setPositioningMode(UWidget::Relative);
    UWidget win(nullptr);
    buildLabels(win)->setVisible(false);
    UWidget* panel = new UWidget(&win);
    panel->setCoordinates(62, 28, 118, 46);
    ULabel* inner = new ULabel(panel, ULabel::AlignRight);
    inner->setCoordinates(0, 2, 50, 14);
    inner->setText("OK", false);
    inner->enableStyleFlag(UWidget::Border); // the label's own clearing covers it
    win.setCoordinates(70, 0, 189, 47);
    win.refresh();
    drain();
    EXPECT_TRUE(textart::matchesGolden(screen->art(70, 0, 129, 48), "label_relative"));
}
