// A program as a real process (a test phonelet through the cross build's
// emulator, if any; the Python peer directly): its standard input a pipe
// for commands, its standard output and standard error collected together
// line by line by a reader thread (each line the programs write is one
// write, so lines never mix). Destroyed while it runs, it is killed and
// reaped; it also dies with its starter (PR_SET_PDEATHSIG). Used by the
// sharing tests and bench/sharing.cpp.
#ifndef UTK_TESTS_PHONELETPROCESS_H
#define UTK_TESTS_PHONELETPROCESS_H

#include <fcntl.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <condition_variable>
#include <cstdlib>
#include <mutex>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

extern char** environ;

namespace harness {

class PhoneletProcess {
public:
    PhoneletProcess(const std::string& label, const std::vector<std::string>& args,
                    const std::vector<std::string>& extraEnv, bool emulated = true)
        : m_label(label)
    {
        std::vector<std::string> argv; // the emulator's words, joined by '|'
        std::stringstream emulator(emulated ? UTK_TEST_EMULATOR_CMD : "");
        for (std::string w; std::getline(emulator, w, '|');)
            if (!w.empty())
                argv.push_back(w);
        argv.insert(argv.end(), args.begin(), args.end());
        std::vector<std::string> env;
        for (char** e = environ; *e; ++e)
            env.push_back(*e);
        env.insert(env.end(), extraEnv.begin(), extraEnv.end());
        std::vector<char*> cargv = pointers(argv), cenv = pointers(env);

        int in[2], out[2];
        if (pipe2(in, O_CLOEXEC) || pipe2(out, O_CLOEXEC))
            return;
        const pid_t parent = getpid();
        m_pid = fork();
        if (m_pid == 0) {
            prctl(PR_SET_PDEATHSIG, SIGKILL);
            if (getppid() != parent)
                _exit(127);
            dup2(in[0], 0);
            dup2(out[1], 1);
            dup2(out[1], 2);
            execvpe(cargv[0], cargv.data(), cenv.data());
            _exit(127);
        }
        close(in[0]);
        close(out[1]);
        m_stdin = in[1];
        m_reader = std::thread([this, fd = out[0]] { readFrom(fd); });
    }

    ~PhoneletProcess()
    {
        closeInput();
        if (m_pid > 0 && !m_exited && kill(m_pid, SIGKILL) == 0)
            waitpid(m_pid, nullptr, 0);
        if (m_reader.joinable())
            m_reader.join();
    }

    const std::string& label() const { return m_label; }

    void send(const std::string& command)
    {
        const std::string line = command + "\n";
        if (m_stdin >= 0)
            (void)!write(m_stdin, line.data(), line.size());
    }
    void closeInput()
    {
        if (m_stdin >= 0)
            close(m_stdin);
        m_stdin = -1;
    }

    // The index of the first output line at or after `from` equal to
    // `line` (with `prefix`, starting with it), once there is one; -1 after
    // `seconds` or when the process has closed its output.
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

    // The output lines so far that start with `prefix`.
    std::vector<std::string> lines(const std::string& prefix = "") const
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        std::vector<std::string> r;
        for (const std::string& l : m_out)
            if (l.compare(0, prefix.size(), prefix) == 0)
                r.push_back(l);
        return r;
    }
    // Everything the process wrote, for failure messages.
    std::string transcript() const
    {
        std::string t = "---- " + m_label + ":\n";
        for (const std::string& l : lines())
            t += l + "\n";
        return t;
    }

    // The exit status (as waitpid gives it) once the process has ended and
    // its output is read, or -1 when it still runs after `seconds`.
    int waitExit(double seconds)
    {
        const auto end = std::chrono::steady_clock::now() + std::chrono::duration<double>(seconds);
        while (m_pid > 0 && !m_exited) {
            if (waitpid(m_pid, &m_status, WNOHANG) == m_pid)
                m_exited = true;
            else if (std::chrono::steady_clock::now() > end)
                return -1;
            else
                std::this_thread::sleep_for(std::chrono::milliseconds(10));
        }
        if (m_reader.joinable())
            m_reader.join();
        return m_exited ? m_status : -1;
    }

private:
    static std::vector<char*> pointers(std::vector<std::string>& strings)
    {
        std::vector<char*> r;
        for (std::string& s : strings)
            r.push_back(&s[0]);
        r.push_back(nullptr);
        return r;
    }
    void readFrom(int fd)
    {
        char buf[4096];
        ssize_t n;
        std::string partial;
        while ((n = read(fd, buf, sizeof buf)) > 0) {
            std::lock_guard<std::mutex> lock(m_mutex);
            partial.append(buf, static_cast<size_t>(n));
            for (size_t nl; (nl = partial.find('\n')) != std::string::npos; partial.erase(0, nl + 1))
                m_out.push_back(partial.substr(0, nl));
            m_changed.notify_all();
        }
        close(fd);
        std::lock_guard<std::mutex> lock(m_mutex);
        if (!partial.empty())
            m_out.push_back(partial);
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
    bool m_closed = false;
};

} // namespace harness

#endif
