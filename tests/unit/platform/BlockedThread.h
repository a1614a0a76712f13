// Waits, in a test, until another thread of the process is blocked in a poll: what happens to a wait that is under way
// can then be tested without guessing how long the thread takes to get there. A thread that has ended already is not
// waited for.
#pragma once

#include <sys/syscall.h>

#include <fstream>
#include <string>
#include <thread>

namespace quillmark::test {

inline void AwaitBlockedInPoll(unsigned threadId) {
    const std::string path = "/proc/self/task/" + std::to_string(threadId) + "/syscall";
    for (;;) {
        std::ifstream file(path);
        std::string number;
        file >> number;
        // A running thread reads as "running", a blocked one begins with the number of its system call.
        if (!file.is_open() || number == std::to_string(SYS_ppoll) || number == std::to_string(SYS_poll)) {
            return;
        }
        std::this_thread::yield();
    }
}

}  // namespace quillmark::test
