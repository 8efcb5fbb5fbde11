// The test desktop: the ServerMode phonelet "DesktopPhonelet", which hosts
// the screen server and the key listener. Its window is a status bar over
// the top 12 rows; it starts hidden and shows itself when the server gives
// it the screen. It is enabled from the start, so any key reaching it
// would be printed: the screen client must drop them all.
//
//   utk_sharing_desktop [phonelet options]
#include <cstdio>
#include <memory>

#include "phonelet.h"
#include "ulabel.h"
#include "uscreenzq4.h"
#include "uwidget.h"

int main(int argc, char** argv)
{
    phonelet::Options options;
    options.enabled = true;
    if (!options.parse(argc, argv, 1)) {
        std::fprintf(stderr, "usage: %s [--enabled] [--enable-on-show] [--key-counter NAME]\n",
                     argv[0]);
        return 2;
    }
    phonelet::ReportingApp app(UApplication::DESKTOPPHONELET, new UScreenZQ4(),
                               UApplication::ServerMode, options);
    app.loadFonts();
    UWidget::setPositioningMode(UWidget::Relative);

    std::unique_ptr<UWidget> bar(new UWidget(nullptr));
    bar->setRect(URect(0, 0, 199, 12));
    bar->enableStyleFlag(UWidget::Inverted);
    bar->enableStyleFlag(UWidget::Background);
    ULabel* label = new ULabel(bar.get(), ULabel::AlignLeft);
    label->setRect(URect(0, 0, 199, 12));
    label->enableStyleFlag(UWidget::Inverted);
    label->setText(UString("Desktop"), false);
    bar->setVisible(false); // until the server gives it the screen

    phonelet::Commander commander(app);
    app.postEvent(new phonelet::CommandEvent(&commander, "ready"));
    phonelet::CommandReader reader(commander);
    app.run();
    return 0;
}
