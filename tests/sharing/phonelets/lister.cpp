// The test client phonelet: a ClientMode application under the name given
// first on its command line. Its window is the whole screen but draws only
// below the desktop's status bar (rows 12 to 47): a title, a list of three
// calls shown one at a time and, unless --no-edit, a digit field. (The
// window sits at the origin so that the rectangles a hidden row erases,
// which are not translated, are the ones it painted.) It reports the list's events
// ("list <index>", "selected <index>") and the field's text after every
// key that changed it ("edit <text>"). The window starts hidden and is
// shown when the server gives the phonelet the screen.
//
//   utk_sharing_lister NAME [TITLE] [phonelet options]
#include <cstdio>
#include <cstring>
#include <memory>
#include <vector>

#include "phonelet.h"
#include "ulabel.h"
#include "ulineedit.h"
#include "ulistevent.h"
#include "ulistwidget.h"
#include "uscreenzq4.h"
#include "ustandardlistitem.h"
#include "uwidget.h"

namespace {

class Window : public UWidget {
public:
    Window(const char* title, bool withEdit) : UWidget(nullptr)
    {
        setRect(URect(0, 0, 199, 48));
        ULabel* label = new ULabel(this, ULabel::AlignLeft);
        label->setRect(URect(0, 12, 199, 12));
        label->setText(UString(title), false);

        list = new UListWidget(this);
        list->setRect(URect(0, 24, 199, 12));
        list->setListener(this);
        for (const char* name : {"Anna Berg", "Bert Cole", "Carl Dahl"}) {
            UStandardListItem* row = new UStandardListItem(UString(name), 0xE106);
            rows.push_back(row);
            list->appendItem(row);
            if (list->count() > 1)
                row->setVisible(false); // one row at a time
        }
        if (withEdit) {
            // The field draws at its parent's origin: a box of its own.
            UWidget* box = new UWidget(this);
            box->setRect(URect(0, 36, 199, 12));
            edit = new ULineEdit(box);
            edit->setRect(URect(0, 0, 199, 12));
            edit->enableStyleFlag(UWidget::Background);
        }
    }
    ~Window() override
    {
        // Rows that stepping left behind are windows of their own.
        for (UListItem* r : rows)
            if (!r->getParent())
                delete r;
    }

    void event(UEvent* e) override
    {
        UListEvent* le = dynamic_cast<UListEvent*>(e);
        if (!le)
            return;
        if (e->getType() == UEvent::ListCurrentChanged)
            phonelet::say("list %u", le->index());
        else if (e->getType() == UEvent::ListSelected)
            phonelet::say("selected %u", le->index());
    }

    UListWidget* list = nullptr;
    ULineEdit* edit = nullptr;
    std::vector<UListItem*> rows;
};

} // namespace

int main(int argc, char** argv)
{
    phonelet::Options options;
    int first = 2;
    const char* title = argc > 1 ? argv[1] : "";
    if (argc > 2 && std::strncmp(argv[2], "--", 2) != 0) {
        title = argv[2];
        first = 3;
    }
    if (argc < 2 || !options.parse(argc, argv, first)) {
        std::fprintf(stderr,
                     "usage: %s NAME [TITLE] [--enabled] [--enable-on-show] [--no-edit] "
                     "[--key-counter NAME]\n",
                     argv[0]);
        return 2;
    }
    phonelet::ReportingApp app(UString(argv[1]), new UScreenZQ4(), UApplication::ClientMode,
                               options);
    app.loadFonts();
    UWidget::setPositioningMode(UWidget::Relative);

    std::unique_ptr<Window> window(new Window(title, options.edit));
    window->setVisible(false); // until the server gives it the screen
    UString text;
    app.afterKey = [&] {
        if (window->edit && !(window->edit->getText() == text)) {
            text = window->edit->getText();
            phonelet::say("edit %s", text.toUTF8().c_str());
        }
    };

    phonelet::Commander commander(app);
    app.postEvent(new phonelet::CommandEvent(&commander, "ready"));
    phonelet::CommandReader reader(commander);
    app.run();
    return 0;
}
