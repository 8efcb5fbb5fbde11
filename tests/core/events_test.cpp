// Event delivery order, emit rules, listener and child bookkeeping, the
// loop's sleep and wake-up across threads, stopping.
#include <atomic>
#include <thread>

#include "core_fixture.h"
#include "uobject.h"

TEST_F(CoreTest, EventsArriveInPostingOrderAndHandlerPostsQueueBehind)
{
    Log log;
    Recorder a(&log, "a"), b(&log, "b");
    struct Reposter : Recorder {
        using Recorder::Recorder;
        UAgent* next = nullptr;
        void event(UEvent* e) override
        {
            Recorder::event(e);
            emit(99, next); // queued behind everything already waiting
        }
    } r(&log, "r");
    r.next = &b;
    a.emit(1, &a);
    r.emit(2, &r);
    UKeyEvent* k = new UKeyEvent(&b, 1);
    k->m_key = 4;
    k->m_state = 2;
    UEvent* c = k->clone(); // a plain event: type 1, no key fields
    EXPECT_EQ(nullptr, dynamic_cast<UKeyEvent*>(c));
    app->postEvent(k);
    app->postEvent(c);
    EXPECT_EQ(5u, drain());
    EXPECT_EQ((Log{"a:e1", "r:e2", "b:k4/2", "b:e1", "b:e99"}), log);
}

TEST_F(CoreTest, EmitRulesForMissingReceivers)
{
    Log log;
    Recorder lonely(&log, "lonely");
    Recorder target(&log, "t"), other(&log, "o");
    UEvent* e = new UEvent(&other, &other, 42);
    lonely.emit(e, &target); // source and target overwritten
    EXPECT_EQ(&lonely, e->m_source);
    drain();
    EXPECT_EQ((Log{"t:e42"}), log);

    delete app; // no application: emits with a receiver drop their event
    app = nullptr;
    target.emit(new UEvent(nullptr), &other);
    app = new UApplication("again", new MemoryScreen, UApplication::UIMode(0));
}

TEST_F(CoreTest, DyingAgentsLoseTheirEventsAndTheirLinks)
{
    Log log;
    Recorder* listener = new Recorder(&log, "l");
    Recorder a(&log, "a", listener), b(&log, "b", listener);
    a.emit(7);
    listener->emit(1, listener);
    b.emit(2, &b);
    delete listener;
    // Its events stay queued (the count stays in step) but reach nobody.
    EXPECT_EQ(3u, app->eventLoop()->pending());
    EXPECT_EQ(nullptr, a.getListener());
    EXPECT_EQ(nullptr, b.getListener());
    EXPECT_EQ(3u, drain());
    EXPECT_EQ((Log{"b:e2"}), log);

    // Destroyed by a handler while its event waits in the same batch.
    struct Killer : UAgent {
        UAgent* victim = nullptr;
        void event(UEvent*) override { delete victim; }
    } killer;
    killer.victim = new Recorder(&log, "v");
    killer.emit(1, &killer);
    killer.emit(2, killer.victim);
    EXPECT_EQ(2u, drain());
    EXPECT_EQ((Log{"b:e2"}), log);
}

namespace {
struct Node : UObject {
    Log* log;
    std::string name;
    Node(Log* l, std::string n, UObject* parent) : UObject(parent), log(l), name(std::move(n)) {}
    ~Node() override { log->push_back(name); }
};
} // namespace

TEST_F(CoreTest, ChildrenAreNewestFirstAndDieBeforeTheirParent)
{
    Log log;
    Node* root = new Node(&log, "root", nullptr);
    Node* a = new Node(&log, "a", root);
    Node* b = new Node(&log, "b", root);
    new Node(&log, "b1", b);
    Node* b2 = new Node(&log, "b2", b);
    a->setParent(root); // same parent again moves it to the front
    EXPECT_EQ(a, root->getChildren().front());
    b2->setParent(a); // moves between lists
    EXPECT_EQ(1u, b->getChildren().size());
    b2->setParent(b);
    delete root;
    // Destructors start parent first, then each child newest first, depth first.
    EXPECT_EQ((Log{"root", "a", "b", "b2", "b1"}), log);
}

// Two threads post in bursts while the loop runs, so it keeps falling
// asleep on an empty queue and being woken: every event is delivered once,
// each thread's in its order, and the loop never sleeps on a waiting event.
TEST_F(CoreTest, RunningLoopGetsEveryEventFromOtherThreads)
{
    const int n = 3000;
    struct Seq : UAgent {
        std::vector<int> seen[2];
        void event(UEvent* e) override
        {
            if (e->m_type == 0xFFFF)
                UApplication::instance()->stop();
            else
                seen[e->m_reserved].push_back(e->m_type);
        }
    } seq;
    auto producer = [&](uint32_t tag) {
        for (int i = 0; i < n; ++i) {
            UEvent* e = new UEvent(&seq, static_cast<unsigned short>(i));
            e->m_reserved = tag;
            UApplication::postThroughInstance(e);
            if (static_cast<uint32_t>(i % 97) == tag)
                std::this_thread::sleep_for(std::chrono::microseconds(200));
        }
    };
    std::thread t0(producer, 0u), t1(producer, 1u);
    std::thread last([&] {
        t0.join();
        t1.join();
        UApplication::postThroughInstance(new UEvent(&seq, 0xFFFF));
    });
    app->run();
    last.join();
    for (auto& s : seq.seen) {
        ASSERT_EQ(static_cast<size_t>(n), s.size());
        for (int i = 0; i < n; ++i)
            ASSERT_EQ(i, s[i]);
    }
}

TEST_F(CoreTest, StopTakesEffectAfterTheCurrentOrTheNextEvent)
{
    Log log;
    Recorder r(&log, "r");
    struct Signal : UAgent {
        std::atomic<bool> seen{false};
        void event(UEvent*) override { seen = true; }
    } signal;
    // Waiting on an empty queue, stop() returns only after one more event.
    app->postEvent(new UEvent(&signal, 0));
    std::thread poster([&] {
        while (!signal.seen.load())
            std::this_thread::yield();
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
        app->stop();
        app->postEvent(new UEvent(&r, 5));
        app->postEvent(new UEvent(&r, 6));
    });
    app->run();
    poster.join();
    EXPECT_EQ((Log{"r:e5"}), log);
    app->run(); // a stopped loop stays stopped
    EXPECT_EQ(1u, app->eventLoop()->pending());

    // From a handler: the loop returns after that event.
    delete app;
    app = new UApplication("again", new MemoryScreen, UApplication::UIMode(0));
    log.clear();
    Stopper stopper;
    r.emit(1, &r);
    app->postEvent(new UEvent(&stopper, 0));
    r.emit(2, &r);
    app->run();
    EXPECT_EQ((Log{"r:e1"}), log);
    // Left in the queue, released with the loop (LeakSanitizer checks).
}
