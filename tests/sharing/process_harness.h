// Test phonelets as real processes: started with fork/exec (through the
// cross-build's emulator when there is one), their standard input a pipe
// for commands, their standard output and error collected line by line by
// a reader thread. A PhoneletProcess that is destroyed while its process
// still runs kills it (SIGKILL) and reaps it; the process also dies with
// the test process (PR_SET_PDEATHSIG), so nothing outlives a failing or
// crashing test.
//
// SharingFixture adds what the phonelets share: the key pipe
// /tmp/kiv_keyboard (made with mkfifo and removed after), the System V
// drawing buffer (key 200555, removed before and after) and one simulated
// LCD memory file per phonelet (buffered "st7525fb" controller, 199 x 48 at
// one bit per pixel, so every phonelet draws into the shared buffer),
// removed after.
#ifndef UTK_TESTS_PROCESS_HARNESS_H
#define UTK_TESTS_PROCESS_HARNESS_H

#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <poll.h>
#include <signal.h>
#include <sys/ipc.h>
#include <sys/prctl.h>
#include <sys/shm.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <condition_variable>
#include <cstring>
#include <memory>
#include <mutex>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

extern char** environ;

namespace harness {

// The emulator that runs target programs in a cross build ("" natively),
// its words separated by '|'.
inline std::vector<std::string> emulatorWords()
{
    std::vector<std::string> words;
    std::stringstream ss(UTK_TEST_EMULATOR_CMD);
    std::string w;
    while (std::getline(ss, w, '|'))
        if (!w.empty())
            words.push_back(w);
    return words;
}

class PhoneletProcess {
public:
    PhoneletProcess(const std::string& label, const std::vector<std::string>& args,
                    const std::vector<std::string>& extraEnv)
        : m_label(label)
    {
        std::vector<std::string> argv = emulatorWords();
        argv.insert(argv.end(), args.begin(), args.end());
        std::vector<std::string> env;
        for (char** e = environ; *e; ++e)
            env.push_back(*e);
        env.insert(env.end(), extraEnv.begin(), extraEnv.end());
        std::vector<char*> cargv, cenv;
        for (std::string& s : argv)
            cargv.push_back(&s[0]);
        cargv.push_back(nullptr);
        for (std::string& s : env)
            cenv.push_back(&s[0]);
        cenv.push_back(nullptr);

        int in[2], out[2], err[2];
        if (pipe2(in, O_CLOEXEC) || pipe2(out, O_CLOEXEC) || pipe2(err, O_CLOEXEC)) {
            ADD_FAILURE() << "pipe: " << std::strerror(errno);
            return;
        }
        const pid_t parent = getpid();
        m_pid = fork();
        if (m_pid == 0) {
            prctl(PR_SET_PDEATHSIG, SIGKILL);
            if (getppid() != parent)
                _exit(127);
            dup2(in[0], 0);
            dup2(out[1], 1);
            dup2(err[1], 2);
            execve(cargv[0], cargv.data(), cenv.data());
            _exit(127);
        }
        close(in[0]);
        close(out[1]);
        close(err[1]);
        m_stdin = in[1];
        if (m_pid < 0) {
            ADD_FAILURE() << "fork: " << std::strerror(errno);
            close(out[0]);
            close(err[0]);
            return;
        }
        m_reader = std::thread([this, o = out[0], e = err[0]] { readAll(o, e); });
    }

    ~PhoneletProcess()
    {
        if (m_stdin >= 0)
            close(m_stdin);
        if (m_pid > 0 && !m_exited) {
            kill(m_pid, SIGKILL);
            int status;
            waitpid(m_pid, &status, 0);
        }
        if (m_reader.joinable())
            m_reader.join();
    }

    const std::string& label() const { return m_label; }

    void send(const std::string& command)
    {
        const std::string line = command + "\n";
        if (m_stdin < 0 || write(m_stdin, line.data(), line.size()) != ssize_t(line.size()))
            ADD_FAILURE() << m_label << ": cannot send " << command;
    }

    // Waits until standard output has a line equal to `line` (or, with
    // `prefix`, starting with it) at or after index `from`; answers its
    // index, or -1 after `seconds` or when the process has closed its
    // output.
    int waitLine(const std::string& line, double seconds = 20, size_t from = 0,
                 bool prefix = false)
    {
        std::unique_lock<std::mutex> lock(m_mutex);
        int found = -1;
        m_changed.wait_for(lock, std::chrono::duration<double>(seconds), [&] {
            for (size_t i = from; i < m_out.size(); ++i)
                if (prefix ? m_out[i].compare(0, line.size(), line) == 0 : m_out[i] == line) {
                    found = static_cast<int>(i);
                    return true;
                }
            return m_closed;
        });
        return found;
    }

    // Line `index` of standard output ("" when there is none).
    std::string line(int index) const
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        return index >= 0 && size_t(index) < m_out.size() ? m_out[size_t(index)] : "";
    }

    // Standard output lines so far, optionally only those starting with
    // `prefix`.
    std::vector<std::string> lines(const std::string& prefix = "", size_t from = 0) const
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        std::vector<std::string> r;
        for (size_t i = from; i < m_out.size(); ++i)
            if (m_out[i].compare(0, prefix.size(), prefix) == 0)
                r.push_back(m_out[i]);
        return r;
    }
    size_t lineCount() const
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        return m_out.size();
    }
    std::string errText() const
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        return m_err;
    }
    // Everything the process wrote, for failure messages.
    std::string transcript() const
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        std::string t = "---- " + m_label + " stdout:\n";
        for (const std::string& l : m_out)
            t += l + "\n";
        return t + "---- " + m_label + " stderr:\n" + m_err;
    }

    // Waits for the process to end: its exit status (as waitpid gives it),
    // or -1 when it still runs after `seconds`.
    int waitExit(double seconds)
    {
        if (m_pid <= 0)
            return -1;
        const auto end = std::chrono::steady_clock::now() + std::chrono::duration<double>(seconds);
        while (!m_exited) {
            int status;
            const pid_t r = waitpid(m_pid, &status, WNOHANG);
            if (r == m_pid) {
                m_exited = true;
                m_status = status;
                break;
            }
            if (std::chrono::steady_clock::now() > end)
                return -1;
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
        }
        if (m_reader.joinable())
            m_reader.join();
        return m_status;
    }

private:
    void readAll(int out, int err)
    {
        std::string partial[2];
        pollfd fds[2] = {{out, POLLIN, 0}, {err, POLLIN, 0}};
        int open = 2;
        while (open > 0) {
            if (poll(fds, 2, -1) < 0 && errno != EINTR)
                break;
            for (int i = 0; i < 2; ++i) {
                if (fds[i].fd < 0 || !fds[i].revents)
                    continue;
                char buf[4096];
                const ssize_t n = read(fds[i].fd, buf, sizeof buf);
                if (n <= 0) {
                    close(fds[i].fd);
                    fds[i].fd = -1;
                    --open;
                    continue;
                }
                std::lock_guard<std::mutex> lock(m_mutex);
                if (i == 1) {
                    m_err.append(buf, static_cast<size_t>(n));
                    continue;
                }
                partial[0].append(buf, static_cast<size_t>(n));
                size_t nl;
                while ((nl = partial[0].find('\n')) != std::string::npos) {
                    m_out.push_back(partial[0].substr(0, nl));
                    partial[0].erase(0, nl + 1);
                }
                m_changed.notify_all();
            }
        }
        std::lock_guard<std::mutex> lock(m_mutex);
        if (!partial[0].empty())
            m_out.push_back(partial[0]);
        m_closed = true;
        m_changed.notify_all();
    }

    std::string m_label;
    pid_t m_pid = -1;
    int m_stdin = -1;
    bool m_exited = false;
    int m_status = 0;
    std::thread m_reader;
    mutable std::mutex m_mutex;
    std::condition_variable m_changed;
    std::vector<std::string> m_out;
    std::string m_err;
    bool m_closed = false;
};

inline const char* keyPipePath() { return "/tmp/kiv_keyboard"; }
const int DRAWING_BUFFER_KEY = 200555;

inline void removeDrawingBuffer()
{
    const int id = shmget(DRAWING_BUFFER_KEY, 0, 0);
    if (id >= 0)
        shmctl(id, IPC_RMID, nullptr);
}

class SharingFixture : public ::testing::Test {
protected:
    void SetUp() override
    {
        removeDrawingBuffer();
        unlink(keyPipePath());
        ASSERT_EQ(mkfifo(keyPipePath(), 0600), 0) << std::strerror(errno);
    }

    void TearDown() override
    {
        if (HasFailure())
            for (auto& p : m_procs)
                std::printf("%s", p->transcript().c_str());
        if (m_keys >= 0)
            close(m_keys);
        m_procs.clear(); // kills what still runs
        unlink(keyPipePath());
        removeDrawingBuffer();
        for (const std::string& name : m_shmNames)
            shm_unlink(name.c_str());
    }

    // Starts a phonelet on its own simulated LCD.
    PhoneletProcess& start(const std::string& label, const std::vector<std::string>& args,
                           std::vector<std::string> env = {})
    {
        const std::string shm = "/utk-e2e-" + std::to_string(getpid()) + "-" + label;
        m_shmNames.push_back(shm);
        env.insert(env.end(), {"UTKSIM_FB_ID=st7525fb", "UTKSIM_FB_XRES=199",
                               "UTKSIM_FB_YRES=48", "UTKSIM_FB_BPP=1", "UTKSIM_FB_SHM=" + shm});
        m_procs.emplace_back(new PhoneletProcess(label, args, env));
        return *m_procs.back();
    }

    // Writes key records into the pipe as the keypad driver would.
    void keys(const std::vector<unsigned char>& bytes)
    {
        if (m_keys < 0)
            m_keys = open(keyPipePath(), O_WRONLY | O_NONBLOCK | O_CLOEXEC);
        ASSERT_GE(m_keys, 0) << "key pipe: " << std::strerror(errno);
        ASSERT_EQ(write(m_keys, bytes.data(), bytes.size()), ssize_t(bytes.size()));
    }

    // One datagram from a socket of the test's own to 127.0.0.1:port.
    static void sendDatagram(unsigned short port, const std::vector<unsigned char>& bytes)
    {
        const int s = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
        ASSERT_GE(s, 0);
        sockaddr_in to{};
        to.sin_family = AF_INET;
        to.sin_port = htons(port);
        to.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        const ssize_t n = sendto(s, bytes.data(), bytes.size(), 0,
                                 reinterpret_cast<sockaddr*>(&to), sizeof to);
        close(s);
        ASSERT_EQ(n, ssize_t(bytes.size()));
    }

    // The shared drawing buffer's 1200 bytes (199 x 48, 25 bytes a row), or
    // an empty vector when there is none.
    static std::vector<unsigned char> drawingBuffer()
    {
        const int id = shmget(DRAWING_BUFFER_KEY, 0, 0);
        if (id < 0)
            return {};
        void* p = shmat(id, nullptr, SHM_RDONLY);
        if (p == reinterpret_cast<void*>(-1))
            return {};
        std::vector<unsigned char> v(static_cast<unsigned char*>(p),
                                     static_cast<unsigned char*>(p) + 25 * 48);
        shmdt(p);
        return v;
    }

    std::vector<std::unique_ptr<PhoneletProcess>> m_procs;
    std::vector<std::string> m_shmNames;
    int m_keys = -1;
};

} // namespace harness

#endif
