// Labels: text and icon offsets for each alignment, the spare-width edge
// cases, and pictures of labels in both positioning modes.
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

} // namespace

TEST_F(LabelTest, TextOffsetsFollowTheWorkedExample)
{
    UWidget win(nullptr);
    ULabel left(&win, ULabel::AlignLeft);
    ULabel center(&win, ULabel::AlignCenter);
    ULabel shifted(&win, ULabel::AlignCenterShifted);
    ULabel right(&win, ULabel::AlignRight);
    ULabel odd(&win, static_cast<ULabel::TextAlignment>(7));
    for (ULabel* l : {&left, &center, &shifted, &right, &odd}) {
        l->setCoordinates(10, 0, 109, 11); // W = 99
        l->setText("Calls: 12", false);    // 40 pixels
    }
    ASSERT_EQ(40, UDrawer::textWidth("Calls: 12"));
    EXPECT_EQ(1, left.getAlignmentXOffsetBasedOnCurrentText());
    EXPECT_EQ(29, center.getAlignmentXOffsetBasedOnCurrentText());
    EXPECT_EQ(29, shifted.getAlignmentXOffsetBasedOnCurrentText());
    EXPECT_EQ(58, right.getAlignmentXOffsetBasedOnCurrentText());
    EXPECT_EQ(1, odd.getAlignmentXOffsetBasedOnCurrentText());

    // The width is taken in the application's font, whatever the label's.
    right.setFont("icons");
    EXPECT_EQ(58, right.getAlignmentXOffsetBasedOnCurrentText());

    // Wider than the rectangle: 0 when centred or right-aligned, 1 when left.
    for (ULabel* l : {&left, &center, &right})
        l->setText("Calls 12 Calls 12 Calls 12", false);
    EXPECT_EQ(1, left.getAlignmentXOffsetBasedOnCurrentText());
    EXPECT_EQ(0, center.getAlignmentXOffsetBasedOnCurrentText());
    EXPECT_EQ(0, right.getAlignmentXOffsetBasedOnCurrentText());
}

TEST_F(LabelTest, SpareWidthAndRightSideOffsetEdges)
{
    ULabel l(nullptr, ULabel::AlignRight);
    l.setCoordinates(0, 0, 20, 5); // W = 20
    EXPECT_EQ(2, l.getRectWidthDiff(18));
    EXPECT_EQ(1, l.getRightSideXOffset(18));
    EXPECT_EQ(1, l.getRectWidthDiff(19));
    EXPECT_EQ(0, l.getRightSideXOffset(19)); // not 0 - 1
    EXPECT_EQ(0, l.getRectWidthDiff(20));
    EXPECT_EQ(0, l.getRectWidthDiff(300));
    EXPECT_EQ(22, l.getRectWidthDiff(-2)); // compared as signed integers
    EXPECT_EQ(0, l.getRightSideXOffset(25));

    // A one-pixel-wide label has no spare width at all.
    l.setCoordinates(5, 0, 5, 5);
    EXPECT_EQ(0, l.getRectWidthDiff(0));
}

TEST_F(LabelTest, IconOffsetsCountEveryIconAsWideAsTheFirst)
{
    ULabel center(nullptr, ULabel::AlignCenter);
    ULabel shifted(nullptr, ULabel::AlignCenterShifted);
    ULabel right(nullptr, ULabel::AlignRight);
    ULabel left(nullptr, ULabel::AlignLeft);
    UString icons;
    icons.append(ICON_UP);
    icons.append(static_cast<unsigned short>(0xE104)); // 12 pixels: measured as 10
    for (ULabel* l : {&center, &shifted, &right, &left}) {
        l->setCoordinates(0, 0, 60, 11); // W = 60, content 20
        l->setIcons(icons);
    }
    EXPECT_EQ(20, center.getAlignmentXOffsetBasedOnCurrentIcons());
    EXPECT_EQ(22, shifted.getAlignmentXOffsetBasedOnCurrentIcons());
    EXPECT_EQ(39, right.getAlignmentXOffsetBasedOnCurrentIcons());
    EXPECT_EQ(1, left.getAlignmentXOffsetBasedOnCurrentIcons());

    EXPECT_EQ(ICON_UP, center.getIcon());
    center.setIcon(0); // a real glyph code, not "no icon"
    EXPECT_EQ(0, center.getIcon());
    EXPECT_EQ(1u, center.getIcons().length());
    ULabel fresh(nullptr, ULabel::AlignLeft);
    EXPECT_EQ(0, fresh.getIcon());
    EXPECT_TRUE(fresh.getIcons().empty());
}

TEST_F(LabelTest, SettersStoreWithoutRepainting)
{
    ULabel l(nullptr, ULabel::AlignLeft);
    forget();
    l.setText(UString("A"), true);
    l.setIcons(UString("B"));
    l.setIcon(3);
    EXPECT_TRUE(app->posted.empty());
    EXPECT_EQ(UString("A"), l.getText());
    EXPECT_TRUE(l.getMarker());
    l.setText(UString("C"), false);
    EXPECT_FALSE(l.getMarker());
}

TEST_F(LabelTest, EmptyLabelOnlyClearsItsRectangle)
{
    UWidget win(nullptr);
    ULabel* l = new ULabel(&win, ULabel::AlignCenter);
    l->setCoordinates(2, 2, 9, 5);
    {
        UDrawer d;
        d.setBrush(0);
        d.fillRect(URect(0, 0, 12, 8));
    }
    win.refresh();
    drain();
    EXPECT_EQ(12 * 8 - 8 * 4, screen->inkCount());
    EXPECT_EQ(255, screen->pixel(2, 2));
    EXPECT_EQ(255, screen->pixel(9, 5));
    EXPECT_EQ(0, screen->pixel(10, 5));

    // Inverted, the rectangle is cleared to ink instead.
    l->enableStyleFlag(UWidget::Inverted);
    win.refresh();
    drain();
    EXPECT_EQ(12 * 8, screen->inkCount());
}

// A status line: texts in every alignment, an inverted one, one with a
// marker, icons centred and shifted, and a label whose text hides its icons.
static void buildLabels(UWidget& win, ULabel*& both)
{
    win.setCoordinates(0, 0, 119, 47);
    win.enableStyleFlag(UWidget::Border);
    const struct {
        ULabel::TextAlignment align;
        unsigned char top;
    } rows[] = {{ULabel::AlignLeft, 1}, {ULabel::AlignCenter, 12}, {ULabel::AlignRight, 23}};
    for (const auto& r : rows) {
        ULabel* l = new ULabel(&win, r.align);
        l->setCoordinates(1, r.top, 58, static_cast<unsigned char>(r.top + 10));
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

    UString arrows;
    arrows.append(ICON_UP);
    arrows.append(ICON_DOWN);
    ULabel* centred = new ULabel(&win, ULabel::AlignCenter);
    centred->setCoordinates(60, 15, 89, 27);
    centred->setIcons(arrows);
    ULabel* shifted = new ULabel(&win, ULabel::AlignCenterShifted);
    shifted->setCoordinates(90, 15, 118, 27);
    shifted->setIcon(ICON_DOWN);

    both = new ULabel(&win, ULabel::AlignRight);
    both->setCoordinates(60, 30, 118, 46);
    both->setIcons(arrows);
    both->setText("Text", false);
}

TEST_F(LabelTest, PictureAbsolute)
{
    UWidget win(nullptr);
    ULabel* both = nullptr;
    buildLabels(win, both);
    win.refresh();
    drain();
    EXPECT_TRUE(textart::matchesGolden(screen->art(0, 0, 120, 48), "label_absolute"));

    // Without text the icons come back at the next paint.
    both->setText(UString(), false);
    both->refresh();
    drain();
    EXPECT_TRUE(
        textart::matchesGolden(screen->art(60, 30, 59, 17), "label_icons_after_text"));
}

TEST_F(LabelTest, PictureRelative)
{
    UWidget::setPositioningMode(UWidget::Relative);
    UWidget win(nullptr);
    ULabel* both = nullptr;
    buildLabels(win, both);
    UWidget* panel = new UWidget(&win); // moves a label by its own corner
    panel->setCoordinates(62, 28, 118, 46);
    ULabel* inner = new ULabel(panel, ULabel::AlignRight);
    inner->setCoordinates(0, 2, 50, 14);
    inner->setText("OK", false);
    inner->enableStyleFlag(UWidget::Border); // the label's own clearing covers it
    both->setVisible(false);
    win.setCoordinates(70, 0, 189, 47);
    win.refresh();
    drain();
    EXPECT_TRUE(textart::matchesGolden(screen->art(70, 0, 129, 48), "label_relative"));
}
