// The fixture of the multi-process tests: what the phonelets share, the
// key pipe /tmp/kiv_keyboard (made with mkfifo and removed after), the
// System V drawing buffer (key 200555, removed before and after) and one
// simulated LCD memory file per phonelet (buffered "st7525fb" controller,
// 199 x 48 at one bit per pixel, so every phonelet draws into the shared
// buffer), removed after. Phonelets still running at the end are killed;
// on failure their output is printed.
#ifndef UTK_TESTS_PROCESS_HARNESS_H
#define UTK_TESTS_PROCESS_HARNESS_H

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/ipc.h>
#include <sys/mman.h>
#include <sys/shm.h>
#include <sys/socket.h>
#include <sys/stat.h>

#include <memory>

#include <gtest/gtest.h>

#include "phoneletprocess.h"

namespace harness {

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
        EXPECT_EQ(m_procs.back()->problem(), "") << label;
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
