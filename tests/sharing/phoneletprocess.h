// A test phonelet as a real process: started with fork/exec (through the
// cross build's emulator when there is one), its standard input a pipe
// for commands, its standard output and error collected line by line by a
// reader thread. A PhoneletProcess that is destroyed while its process
// still runs kills it (SIGKILL) and reaps it; the process also dies with
// its starter (PR_SET_PDEATHSIG), so nothing outlives a failing or
// crashing test or benchmark. Used by tests/sharing/process_*.cpp and
// bench/sharing.cpp.
#ifndef UTK_TESTS_PHONELETPROCESS_H
#define UTK_TESTS_PHONELETPROCESS_H

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <condition_variable>
#include <cstdlib>
#include <cstring>
#include <mutex>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

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

// `name` as found in PATH when it has no slash (execve does not search).
inline std::string inPath(const std::string& name)
{
    const char* path = std::getenv("PATH");
    if (name.find('/') != std::string::npos || !path)
        return name;
    std::stringstream ss(path);
    std::string dir;
    while (std::getline(ss, dir, ':'))
        if (!dir.empty() && access((dir + "/" + name).c_str(), X_OK) == 0)
            return dir + "/" + name;
    return name;
}

class PhoneletProcess {
public:
    PhoneletProcess(const std::string& label, const std::vector<std::string>& args,
                    const std::vector<std::string>& extraEnv)
        : m_label(label)
    {
        std::vector<std::string> argv = emulatorWords();
        argv.insert(argv.end(), args.begin(), args.end());
        if (!argv.empty())
            argv[0] = inPath(argv[0]); // the emulator command may be a bare name ("env")
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
            m_problem = std::string("pipe: ") + std::strerror(errno);
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
            m_problem = std::string("fork: ") + std::strerror(errno);
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
    // What went wrong on the test's side (starting, sending), "" if nothing.
    const std::string& problem() const { return m_problem; }

    void send(const std::string& command)
    {
        const std::string line = command + "\n";
        if (m_stdin < 0 || write(m_stdin, line.data(), line.size()) != ssize_t(line.size()))
            m_problem = "cannot send " + command;
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
    std::string m_problem;
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

} // namespace harness

#endif
