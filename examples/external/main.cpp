// A phonelet built outside the toolkit's tree against the installed
// library: standalone mode, events posted from a second thread and from a
// timer, delivered in order by the event loop until stop().
#include <cstdio>
#include <thread>
#include <vector>

#include <uapplication.h>
#include <uevent.h>
#include <uscreenzq4.h>
#include <utimer.h>
#include <utimerevent.h>

class Hello : public UAgent {
public:
    std::vector<int> seen;
    void event(UEvent* e) override
    {
        std::printf("event %d\n", e->m_type);
        seen.push_back(e->m_type);
    }
    void timerEvent(UTimerEvent*) override
    {
        std::printf("tick\n");
        seen.push_back(-1);
        UApplication::instance()->stop();
    }
};

int main()
{
    // Without a framebuffer device the screen reports it and stays inert.
    UApplication app(UApplication::CALLLOGPHONELET, new UScreenZQ4(), UApplication::UIMode(0));
    Hello hello;
    std::thread worker([&] {
        for (unsigned short t = 100; t < 103; ++t)
            app.postEvent(new UEvent(&hello, t));
    });
    worker.join();
    UTimer timer(&hello, 200);
    timer.setSingleShot(true);
    timer.start();
    app.run();
    const std::vector<int> want = {100, 101, 102, -1};
    if (hello.seen != want) {
        std::printf("FAILED: events out of order\n");
        return 1;
    }
    std::printf("OK\n");
    return 0;
}
