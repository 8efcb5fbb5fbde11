// Event delivery order, listener and child bookkeeping, emit rules.
#include <atomic>
#include <thread>

#include "core_fixture.h"
#include "uobject.h"

using Log = std::vector<std::string>;

TEST_F(CoreTest, EventsArriveInPostingOrderAndHandlerPostsQueueBehind)
{
    Log log;
    Recorder a(&log, "a"), b(&log, "b");
    struct Reposter : UAgent {
        Log* log;
        UAgent* next;
        void event(UEvent* e) override
        {
            log->push_back("r:e" + std::to_string(e->m_type));
            emit(99, next); // queued behind everything already waiting
        }
    } r;
    r.log = &log;
    r.next = &b;
    a.emit(1, &a);
    r.emit(2, &r);
    a.emit(3, &a);
    b.emit(4, &b);
    EXPECT_EQ(5u, drain());
    EXPECT_EQ((Log{"a:e1", "r:e2", "a:e3", "b:e4", "b:e99"}), log);
}

TEST_F(CoreTest, EmitRulesForMissingReceivers)
{
    Log log;
    Recorder lonely(&log, "lonely");
    lonely.emit(5);
    EXPECT_EQ(0u, app->eventLoop()->pending());
    lonely.emit(5, nullptr);
    EXPECT_EQ(0u, app->eventLoop()->pending());
    // An event object without receiver is destroyed (ASan/LSan would see a leak).
    lonely.emit(new UEvent(nullptr, 7));
    lonely.emit(new UEvent(nullptr, 7), nullptr);
    lonely.emit(static_cast<UEvent*>(nullptr));
    EXPECT_EQ(0u, app->eventLoop()->pending());

    Recorder target(&log, "t");
    Recorder other(&log, "o");
    UEvent* e = new UEvent(&other, &other, 42);
    lonely.emit(e, &target);
    EXPECT_EQ(&lonely, e->m_source);
    EXPECT_EQ(&target, e->m_target);
    drain();
    EXPECT_EQ((Log{"t:e42"}), log);
}

TEST_F(CoreTest, KeyEventsReachKeyEventAndCloneIsPlain)
{
    Log log;
    Recorder r(&log, "r");
    UKeyEvent* k = new UKeyEvent(&r, 1);
    k->m_key = 4;
    k->m_state = 2;
    UEvent* c = k->clone();
    EXPECT_EQ(1, c->m_type);
    EXPECT_EQ(&r, c->m_target);
    EXPECT_EQ(nullptr, dynamic_cast<UKeyEvent*>(c));
    app->postEvent(k);
    app->postEvent(c);
    drain();
    EXPECT_EQ((Log{"r:k4/2", "r:e1"}), log);
}

TEST_F(CoreTest, DestroyedTargetsEventsAreDroppedButConsumed)
{
    Log log;
    Recorder* dying = new Recorder(&log, "d");
    Recorder alive(&log, "a");
    dying->emit(1, dying);
    alive.emit(2, &alive);
    dying->emit(3, dying);
    delete dying;
    EXPECT_EQ(3u, app->eventLoop()->pending());
    EXPECT_EQ(3u, drain());
    EXPECT_EQ((Log{"a:e2"}), log);
}

TEST_F(CoreTest, ListenerLinksAreCutFromEitherSide)
{
    Log log;
    Recorder* listener = new Recorder(&log, "l");
    Recorder a(&log, "a", listener), b(&log, "b", listener);
    a.setListener(listener); // twice: still one entry
    EXPECT_EQ(2u, listener->getEmitters().size());
    {
        Recorder c(&log, "c", listener);
        EXPECT_EQ(3u, listener->getEmitters().size());
    }
    EXPECT_EQ(2u, listener->getEmitters().size());
    a.emit(7);
    delete listener;
    EXPECT_EQ(nullptr, a.getListener());
    EXPECT_EQ(nullptr, b.getListener());
    a.emit(8); // no listener: nothing built
    b.setListener(&a);
    EXPECT_EQ(1u, a.getEmitters().count(&b));
    b.removeListener(&b); // not the listener: ignored
    EXPECT_EQ(&a, b.getListener());
    b.setListener(nullptr);
    EXPECT_TRUE(a.getEmitters().empty());
    drain();
    EXPECT_TRUE(log.empty()); // the event for the dead listener was dropped
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
    new Node(&log, "b2", b);
    ASSERT_EQ(2u, root->getChildren().size());
    EXPECT_EQ(b, root->getChildren().front());
    root->addChild(a); // already there
    EXPECT_EQ(2u, root->getChildren().size());
    a->setParent(root); // same parent again moves it to the front
    EXPECT_EQ(a, root->getChildren().front());
    delete root;
    // Destructors start parent first, then each child newest first, depth first.
    EXPECT_EQ((Log{"root", "a", "b", "b2", "b1"}), log);
}

TEST_F(CoreTest, ReparentingMovesBetweenLists)
{
    Log log;
    Node p1(&log, "p1", nullptr), p2(&log, "p2", nullptr);
    Node* c = new Node(&log, "c", &p1);
    c->setParent(&p2);
    EXPECT_TRUE(p1.getChildren().empty());
    EXPECT_EQ(c, p2.getChildren().front());
    c->setParent(nullptr);
    EXPECT_TRUE(p2.getChildren().empty());
    delete c;
}

TEST_F(CoreTest, PostsFromAnotherThreadKeepThatThreadsOrder)
{
    struct Seq : UAgent {
        std::vector<int> seen[2];
        void event(UEvent* e) override { seen[e->m_reserved].push_back(e->m_type); }
    } seq;
    const int n = 2000;
    auto producer = [&](uint32_t tag) {
        for (int i = 0; i < n; ++i) {
            UEvent* e = new UEvent(&seq, static_cast<unsigned short>(i));
            e->m_reserved = tag;
            app->postEvent(e);
        }
    };
    std::thread t(producer, 1u);
    producer(0u);
    t.join();
    EXPECT_EQ(2u * n, drain());
    for (auto& s : seq.seen) {
        ASSERT_EQ(static_cast<size_t>(n), s.size());
        for (int i = 0; i < n; ++i)
            ASSERT_EQ(i, s[i]);
    }
}

TEST_F(CoreTest, RunReturnsAfterTheEventThatStopsIt)
{
    Log log;
    Recorder r(&log, "r");
    Stopper stopper;
    r.emit(1, &r);
    app->postEvent(new UEvent(&stopper, 0));
    r.emit(2, &r);
    app->run();
    EXPECT_EQ((Log{"r:e1"}), log);
    EXPECT_EQ(1u, app->eventLoop()->pending());
    app->run(); // a stopped loop stays stopped
    EXPECT_EQ(1u, app->eventLoop()->pending());
}

TEST_F(CoreTest, StopWhileWaitingTakesEffectAfterOneMoreEvent)
{
    Log log;
    Recorder r(&log, "r");
    struct Signal : UAgent {
        std::atomic<bool> seen{false};
        void event(UEvent*) override { seen = true; }
    } signal;
    app->postEvent(new UEvent(&signal, 0));
    std::thread poster([&] {
        while (!signal.seen.load())
            std::this_thread::yield();
        // Give the loop time to go back to waiting on its empty queue.
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
        app->stop();
        app->postEvent(new UEvent(&r, 5));
        app->postEvent(new UEvent(&r, 6));
    });
    app->run();
    poster.join();
    EXPECT_EQ((Log{"r:e5"}), log);
}

TEST(EventLoop, QueuedEventsAreReleasedWithTheLoop)
{
    // LeakSanitizer checks that nothing queued is leaked.
    UEventLoop* loop = new UEventLoop;
    for (int i = 0; i < 10; ++i)
        loop->postEvent(new UEvent(nullptr, 1));
    EXPECT_EQ(10u, loop->pending());
    delete loop;
}

TEST(Agent, EmitWithoutApplicationDestroysTheEvent)
{
    ASSERT_EQ(nullptr, UApplication::instance());
    UAgent a, b(&a);
    b.emit(3);                    // would need an application: dropped
    b.emit(new UEvent(nullptr));  // destroyed, not leaked
    b.emit(new UEvent(nullptr), &a);
}
