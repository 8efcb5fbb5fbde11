// The screen sharing between real processes, against a reference that makes
// the same hops with bare system calls, measured in the same run:
//
//   BM_KeyToGlass            one key record written into the pipe
//                            /tmp/kiv_keyboard until the client phonelet
//                            that owns the screen has stepped its list and
//                            flushed: the desktop process's key listener
//                            reads it and its server sends the key to the
//                            desktop and the client; the client's thread
//                            posts it, the main thread routes it to the
//                            list, which steps and repaints, and the flush
//                            copies the 1200-byte buffer to the simulated
//                            LCD, whose sync counter the benchmark watches.
//                            1000 keys a repetition (down and up releases
//                            by turns); the time is the median latency,
//                            with the median and p99 as counters.
//   BM_KeyToGlassReference   the same hops with bare calls: a process
//                            blocked in read() on a pipe sends one UDP
//                            datagram over loopback; in another process a
//                            thread blocked in recvfrom() wakes the main
//                            thread (mutex and condition variable), which
//                            copies 1200 bytes and bumps a shared counter.
//   BM_FanOut                key events a second delivered to three
//                            registered, enabled client phonelets (each
//                            counts the keys its application receives in
//                            a shared word), at most 16 keys in flight.
//   BM_FanOutReference       the reference process sending each key to
//                            three receiving processes built as above.
//
// The benchmark uses the fixed resources (UDP port 65529, the pipe, the
// shared drawing buffer 200555): run it under
// `flock /tmp/utk-resources.lock`. It starts the test phonelets
// (tests/sharing/phonelets) and removes the pipe, the buffer and the
// simulated LCD files at the end. The benchmark process waits by spinning
// with sched_yield(), for the toolkit and the reference alike.
#include <arpa/inet.h>
#include <netinet/in.h>
#include <sched.h>
#include <sys/ipc.h>
#include <sys/mman.h>
#include <sys/shm.h>
#include <sys/socket.h>
#include <sys/stat.h>

#include <algorithm>
#include <condition_variable>
#include <cstdio>
#include <cstring>
#include <deque>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include <benchmark/benchmark.h>

#include "medianreporter.h"
#include "phoneletprocess.h"
#include "simfbshared.h"

namespace {

using clock_type = std::chrono::steady_clock;
const char* const KEY_PIPE = "/tmp/kiv_keyboard";
const int DRAWING_BUFFER_KEY = 200555;
const unsigned char DOWN_RELEASE = 0x80 | 13, UP_RELEASE = 0x80 | 12;
const unsigned char HASH_PRESS = 11, HASH_RELEASE = 0x80 | 11;
const int KEYS = 1000;
const int FAN_KEYS = 2000;
const int FAN_CLIENTS = 3;
const unsigned WINDOW = 16;

double seconds(clock_type::duration d)
{
    return std::chrono::duration<double>(d).count();
}

uint32_t load(const uint32_t* p)
{
    return __atomic_load_n(p, __ATOMIC_ACQUIRE);
}

// Spins until *p >= target; false after two seconds.
bool waitFor(const uint32_t* p, uint32_t target)
{
    const clock_type::time_point end = clock_type::now() + std::chrono::seconds(2);
    while (static_cast<int32_t>(load(p) - target) < 0) {
        if (clock_type::now() > end)
            return false;
        sched_yield();
    }
    return true;
}

// Waits until *p has not changed for `quiet`.
uint32_t settle(const uint32_t* p, std::chrono::milliseconds quiet = std::chrono::milliseconds(150))
{
    uint32_t v = load(p);
    for (;;) {
        std::this_thread::sleep_for(quiet);
        const uint32_t now = load(p);
        if (now == v)
            return v;
        v = now;
    }
}

void removeDrawingBuffer()
{
    const int id = shmget(DRAWING_BUFFER_KEY, 0, 0);
    if (id >= 0)
        shmctl(id, IPC_RMID, nullptr);
}

// A 32-bit word in a POSIX shared-memory file of its own.
struct SharedWord {
    explicit SharedWord(const std::string& n) : name(n)
    {
        const int fd = shm_open(name.c_str(), O_RDWR | O_CREAT | O_TRUNC, 0600);
        if (fd >= 0 && ftruncate(fd, sizeof(uint32_t)) == 0) {
            void* p = mmap(nullptr, sizeof(uint32_t), PROT_READ | PROT_WRITE, MAP_SHARED, fd, 0);
            if (p != MAP_FAILED)
                word = static_cast<uint32_t*>(p);
        }
        if (fd >= 0)
            close(fd);
    }
    ~SharedWord()
    {
        if (word)
            munmap(word, sizeof(uint32_t));
        shm_unlink(name.c_str());
    }
    std::string name;
    uint32_t* word = nullptr;
};

// ---- the toolkit: a desktop server process and client phonelets ----------

class Rig {
public:
    // A desktop and client phonelets of the given names. With counters,
    // the clients are enabled from the start and count their keys in
    // shared words; without, they are enabled while they have the screen.
    Rig(const std::vector<std::string>& clients, bool counters)
    {
        removeDrawingBuffer();
        unlink(KEY_PIPE);
        if (mkfifo(KEY_PIPE, 0600) != 0) {
            m_problem = "mkfifo failed";
            return;
        }
        m_desktop = start("desktop", {UTK_PHONELET_DESKTOP});
        if (m_desktop->waitLine("show", 30) < 0) {
            m_problem = "desktop did not start:\n" + m_desktop->transcript();
            return;
        }
        for (const std::string& name : clients) {
            std::vector<std::string> args = {UTK_PHONELET_LISTER, name, "--no-edit"};
            if (counters) {
                m_counters.emplace_back(new SharedWord(prefix() + "count-" + name));
                args.insert(args.end(), {"--enabled", "--key-counter", m_counters.back()->name});
            } else {
                args.push_back("--enable-on-show");
            }
            m_clients.push_back(start(name, args));
            if (m_desktop->waitLine("New client connected: " + name, 30) < 0
                || m_clients.back()->waitLine("ready", 30) < 0) {
                m_problem = name + " did not register:\n" + m_clients.back()->transcript();
                return;
            }
        }
        m_keys = open(KEY_PIPE, O_WRONLY | O_CLOEXEC);
        if (m_keys < 0)
            m_problem = "key pipe cannot be opened";
    }
    ~Rig()
    {
        if (m_keys >= 0)
            close(m_keys);
        // Clients first, the server's process last; what does not end is
        // killed.
        for (auto& c : m_clients)
            c->send("quit");
        for (auto& c : m_clients)
            c->waitExit(10);
        if (m_desktop) {
            m_desktop->send("quit");
            m_desktop->waitExit(10);
        }
        m_clients.clear();
        m_desktop.reset();
        unlink(KEY_PIPE);
        removeDrawingBuffer();
        for (auto& p : m_lcds) {
            if (p.second)
                munmap(p.second, 4096);
            shm_unlink(p.first.c_str());
        }
    }

    const std::string& problem() const { return m_problem; }
    harness::PhoneletProcess& desktop() { return *m_desktop; }
    harness::PhoneletProcess& client(size_t i) { return *m_clients[i]; }
    const uint32_t* counter(size_t i) const { return m_counters[i]->word; }

    // The sync counter in the header of a phonelet's simulated LCD.
    const uint32_t* syncCount(const std::string& label)
    {
        for (auto& p : m_lcds) {
            if (p.first != prefix() + label)
                continue;
            if (!p.second) {
                const int fd = shm_open(p.first.c_str(), O_RDONLY, 0);
                if (fd < 0)
                    return nullptr;
                void* m = mmap(nullptr, 4096, PROT_READ, MAP_SHARED, fd, 0);
                close(fd);
                if (m == MAP_FAILED)
                    return nullptr;
                p.second = m;
            }
            return &static_cast<const SimFbHeader*>(p.second)->syncCount;
        }
        return nullptr;
    }

    bool key(unsigned char byte) { return write(m_keys, &byte, 1) == 1; }

private:
    static std::string prefix() { return "/utk-bench-" + std::to_string(getpid()) + "-"; }

    std::unique_ptr<harness::PhoneletProcess> start(const std::string& label,
                                                    const std::vector<std::string>& args)
    {
        m_lcds.emplace_back(prefix() + label, nullptr);
        return std::unique_ptr<harness::PhoneletProcess>(new harness::PhoneletProcess(
            label, args,
            {"UTKSIM_FB_ID=st7525fb", "UTKSIM_FB_XRES=199", "UTKSIM_FB_YRES=48",
             "UTKSIM_FB_BPP=1", "UTKSIM_FB_SHM=" + prefix() + label}));
    }

    std::string m_problem;
    std::unique_ptr<harness::PhoneletProcess> m_desktop;
    std::vector<std::unique_ptr<harness::PhoneletProcess>> m_clients;
    std::vector<std::unique_ptr<SharedWord>> m_counters;
    std::vector<std::pair<std::string, void*>> m_lcds;
    int m_keys = -1;
};

// ---- the reference: the same hops with bare calls --------------------------

class ReferenceRig {
public:
    explicit ReferenceRig(int receivers)
    {
        m_shared = static_cast<uint32_t*>(mmap(nullptr, 4096, PROT_READ | PROT_WRITE,
                                               MAP_SHARED | MAP_ANONYMOUS, -1, 0));
        m_pipe = "/tmp/utk-bench-reference-" + std::to_string(getpid());
        unlink(m_pipe.c_str());
        mkfifo(m_pipe.c_str(), 0600);
        std::vector<unsigned short> ports;
        for (int i = 0; i < receivers; ++i) {
            const int s = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
            sockaddr_in a{};
            a.sin_family = AF_INET;
            a.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
            bind(s, reinterpret_cast<sockaddr*>(&a), sizeof a);
            socklen_t len = sizeof a;
            getsockname(s, reinterpret_cast<sockaddr*>(&a), &len);
            ports.push_back(ntohs(a.sin_port));
            const pid_t pid = fork();
            if (pid == 0)
                _exit(receive(s, &m_shared[i]));
            close(s);
            m_children.push_back(pid);
        }
        const pid_t pid = fork();
        if (pid == 0)
            _exit(forward(m_pipe, ports));
        m_children.push_back(pid);
        m_keys = open(m_pipe.c_str(), O_WRONLY | O_CLOEXEC);
    }
    ~ReferenceRig()
    {
        const unsigned char quit = 0xFF;
        if (m_keys >= 0 && write(m_keys, &quit, 1) == 1)
            close(m_keys);
        for (pid_t pid : m_children) {
            int status;
            waitpid(pid, &status, 0);
        }
        unlink(m_pipe.c_str());
        munmap(m_shared, 4096);
    }

    const uint32_t* counter(int i) const { return &m_shared[i]; }
    bool key(unsigned char byte) { return write(m_keys, &byte, 1) == 1; }

private:
    // Reads the pipe a byte at a time and sends each byte to every port.
    static int forward(const std::string& path, const std::vector<unsigned short>& ports)
    {
        prctl(PR_SET_PDEATHSIG, SIGKILL);
        const int fd = open(path.c_str(), O_RDONLY);
        const int s = socket(AF_INET, SOCK_DGRAM, 0);
        unsigned char byte;
        while (read(fd, &byte, 1) == 1) {
            const unsigned char datagram[3] = {0x40, byte, 0};
            for (unsigned short port : ports) {
                sockaddr_in to{};
                to.sin_family = AF_INET;
                to.sin_port = htons(port);
                to.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
                sendto(s, datagram, 3, 0, reinterpret_cast<sockaddr*>(&to), sizeof to);
            }
            if (byte == 0xFF)
                break;
        }
        return 0;
    }

    // A thread receives; the main thread, woken through a condition
    // variable, copies a 1200-byte buffer and counts.
    static int receive(int s, uint32_t* count)
    {
        prctl(PR_SET_PDEATHSIG, SIGKILL);
        std::mutex m;
        std::condition_variable cv;
        std::deque<unsigned char> queue;
        std::thread receiver([&] {
            unsigned char d[4];
            for (;;) {
                if (recvfrom(s, d, sizeof d, 0, nullptr, nullptr) != 3)
                    continue;
                {
                    std::lock_guard<std::mutex> lock(m);
                    queue.push_back(d[1]);
                }
                cv.notify_one();
                if (d[1] == 0xFF)
                    return;
            }
        });
        static unsigned char buffer[1200], device[1200];
        for (;;) {
            unsigned char key;
            {
                std::unique_lock<std::mutex> lock(m);
                cv.wait(lock, [&] { return !queue.empty(); });
                key = queue.front();
                queue.pop_front();
            }
            if (key == 0xFF)
                break;
            buffer[key % sizeof buffer] ^= 1;
            std::memcpy(device, buffer, sizeof device);
            benchmark::DoNotOptimize(device);
            __atomic_fetch_add(count, 1u, __ATOMIC_RELEASE);
        }
        receiver.join();
        return 0;
    }

    uint32_t* m_shared = nullptr;
    std::string m_pipe;
    std::vector<pid_t> m_children;
    int m_keys = -1;
};

std::unique_ptr<Rig> g_rig;
std::unique_ptr<ReferenceRig> g_reference;
std::vector<double> g_latencies[2]; // toolkit, reference: every key of every repetition
enum Setup { NONE, ONE_OWNER, THREE_COUNTING, REFERENCE_ONE, REFERENCE_THREE };
Setup g_setup = NONE;

// Brings up the processes a benchmark needs (once for all its
// repetitions), ending those of the previous one; the problem, if any.
std::string setUp(Setup setup)
{
    if (g_setup != setup) {
        g_rig.reset();
        g_reference.reset();
        g_setup = setup;
        switch (setup) {
        case ONE_OWNER:
            g_rig.reset(new Rig({"CallLogPhonelet"}, false));
            if (g_rig->problem().empty()) {
                g_rig->desktop().send("release");
                if (g_rig->client(0).waitLine("show", 30) < 0)
                    return "the client did not get the screen";
            }
            break;
        case THREE_COUNTING:
            g_rig.reset(new Rig({"CallLogPhonelet", "MessagesPhonelet", "LDAPPhonelet"}, true));
            break;
        case REFERENCE_ONE:
            g_reference.reset(new ReferenceRig(1));
            break;
        case REFERENCE_THREE:
            g_reference.reset(new ReferenceRig(FAN_CLIENTS));
            break;
        case NONE:
            break;
        }
    }
    return g_rig ? g_rig->problem() : std::string();
}

// setUp() for a toolkit benchmark: the rig, or null after marking the
// benchmark skipped with the problem.
Rig* rigFor(benchmark::State& state, Setup setup)
{
    const std::string problem = setUp(setup);
    if (!problem.empty()) {
        state.SkipWithError(problem.c_str());
        return nullptr;
    }
    return g_rig.get();
}

void reportLatencies(benchmark::State& state, std::vector<double>& all, std::vector<double> v)
{
    all.insert(all.end(), v.begin(), v.end());
    std::sort(v.begin(), v.end());
    const double median = v[v.size() / 2];
    state.SetIterationTime(median);
    state.counters["median_us"] = median * 1e6;
    state.counters["p99_us"] = v[v.size() * 99 / 100] * 1e6;
}

void BM_KeyToGlass(benchmark::State& state)
{
    Rig* rig = rigFor(state, ONE_OWNER);
    if (!rig)
        return;
    const uint32_t* syncs = rig->syncCount("CallLogPhonelet");
    if (!syncs) {
        state.SkipWithError("no simulated LCD");
        return;
    }
    // Flushes that one step makes, each way.
    settle(syncs);
    uint32_t before = load(syncs);
    rig->key(DOWN_RELEASE);
    const uint32_t down = settle(syncs) - before;
    before = load(syncs);
    rig->key(UP_RELEASE);
    const uint32_t up = settle(syncs) - before;
    if (down == 0 || up == 0) {
        state.SkipWithError("a step made no flush");
        return;
    }
    state.counters["flushes_per_step"] = down;
    for (auto _ : state) {
        std::vector<double> latency;
        for (int i = 0; i < KEYS; ++i) {
            const bool forward = i % 2 == 0;
            const uint32_t target = load(syncs) + (forward ? down : up);
            const clock_type::time_point t0 = clock_type::now();
            rig->key(forward ? DOWN_RELEASE : UP_RELEASE);
            if (!waitFor(syncs, target)) {
                state.SkipWithError("a key was lost");
                return;
            }
            latency.push_back(seconds(clock_type::now() - t0));
        }
        reportLatencies(state, g_latencies[0], latency);
    }
}

void BM_KeyToGlassReference(benchmark::State& state)
{
    setUp(REFERENCE_ONE);
    const uint32_t* count = g_reference->counter(0);
    for (auto _ : state) {
        std::vector<double> latency;
        for (int i = 0; i < KEYS; ++i) {
            const uint32_t target = load(count) + 1;
            const clock_type::time_point t0 = clock_type::now();
            g_reference->key(static_cast<unsigned char>(i & 0x7F));
            if (!waitFor(count, target)) {
                state.SkipWithError("a key was lost");
                return;
            }
            latency.push_back(seconds(clock_type::now() - t0));
        }
        reportLatencies(state, g_latencies[1], latency);
    }
}

// Sends `keys` keys (press and release by turns) through `send`, at most
// WINDOW ahead of the slowest receiver; the time until all have counted
// them all.
template <typename Send>
double fanOut(benchmark::State& state, Send send, const std::vector<const uint32_t*>& counters)
{
    std::vector<uint32_t> base;
    for (const uint32_t* c : counters)
        base.push_back(load(c));
    auto slowest = [&] {
        uint32_t m = UINT32_MAX;
        for (size_t i = 0; i < counters.size(); ++i)
            m = std::min(m, load(counters[i]) - base[i]);
        return m;
    };
    const clock_type::time_point t0 = clock_type::now();
    clock_type::time_point progress = t0;
    uint32_t sent = 0, last = 0;
    while (sent < FAN_KEYS || slowest() < FAN_KEYS) {
        const uint32_t done = slowest();
        if (done != last) {
            last = done;
            progress = clock_type::now();
        } else if (clock_type::now() - progress > std::chrono::seconds(2)) {
            state.SkipWithError("keys were lost");
            return 0;
        }
        if (sent < FAN_KEYS && sent - done < WINDOW) {
            send(sent % 2 == 0 ? HASH_PRESS : HASH_RELEASE);
            ++sent;
        } else {
            sched_yield();
        }
    }
    return seconds(clock_type::now() - t0);
}

void reportFanOut(benchmark::State& state, double t)
{
    state.SetIterationTime(t);
    state.SetItemsProcessed(state.items_processed() + int64_t(FAN_KEYS) * FAN_CLIENTS);
    state.counters["events_per_s"] = t > 0 ? FAN_KEYS * FAN_CLIENTS / t : 0;
}

void BM_FanOut(benchmark::State& state)
{
    Rig* rig = rigFor(state, THREE_COUNTING);
    if (!rig)
        return;
    std::vector<const uint32_t*> counters;
    for (int i = 0; i < FAN_CLIENTS; ++i)
        counters.push_back(rig->counter(i));
    for (auto _ : state)
        reportFanOut(state, fanOut(state, [&](unsigned char b) { rig->key(b); }, counters));
}

void BM_FanOutReference(benchmark::State& state)
{
    setUp(REFERENCE_THREE);
    std::vector<const uint32_t*> counters;
    for (int i = 0; i < FAN_CLIENTS; ++i)
        counters.push_back(g_reference->counter(i));
    for (auto _ : state)
        reportFanOut(state,
                     fanOut(state, [&](unsigned char b) { g_reference->key(b); }, counters));
}

BENCHMARK(BM_KeyToGlass)->Iterations(1)->Repetitions(3)->UseManualTime()->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_KeyToGlassReference)->Iterations(1)->Repetitions(3)->UseManualTime()->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_FanOut)->Iterations(1)->Repetitions(3)->UseManualTime()->Unit(benchmark::kMillisecond);
BENCHMARK(BM_FanOutReference)->Iterations(1)->Repetitions(3)->UseManualTime()->Unit(benchmark::kMillisecond);

void summary(const char* what, std::vector<double> v, double& median, double& p99)
{
    median = p99 = 0;
    if (v.empty())
        return;
    std::sort(v.begin(), v.end());
    median = v[v.size() / 2] * 1e6;
    p99 = v[v.size() * 99 / 100] * 1e6;
    std::printf("%-24s %5zu keys: median %8.1f us   p99 %8.1f us\n", what, v.size(), median, p99);
}

} // namespace

int main(int argc, char** argv)
{
    const int rc = runBenchmarksWithRatios(argc, argv,
                                           {{"BM_KeyToGlass", "BM_KeyToGlassReference"},
                                            {"BM_FanOut", "BM_FanOutReference"}});
    setUp(NONE);
    double m[2], p[2];
    summary("key to glass", g_latencies[0], m[0], p[0]);
    summary("reference", g_latencies[1], m[1], p[1]);
    if (m[1] > 0)
        std::printf("key to glass / reference: median %.2f, p99 %.2f\n", m[0] / m[1], p[0] / p[1]);
    return rc;
}
