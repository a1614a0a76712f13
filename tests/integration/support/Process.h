// A child process of a test: started with its output in files or a pipe, waited for, killed at the end at the latest.
#pragma once

#include <sys/resource.h>
#include <sys/types.h>

#include <map>
#include <string>
#include <vector>

namespace quillmark::testing {

struct ProcessResult {
    int exitCode = -1;  // 128 plus the signal when a signal ended it
    std::string output;
    std::string errors;
    double cpuSeconds = 0;   // user and system
    double seconds = 0;      // by the clock
    long peakKilobytes = 0;  // of resident memory
};

class Process {
public:
    using Environment =
        std::map<std::string, std::string>;  // added to the test's own; an empty value removes a variable

    Process() = default;
    // output and errors go to these files; empty leaves them where the test's own go.
    Process(const std::vector<std::string>& command, const std::string& outputFile, const std::string& errorFile,
            const Environment& environment = {});
    Process(Process&& other) noexcept;
    Process& operator=(Process&& other) noexcept;
    ~Process();  // kills what still runs

    [[nodiscard]] pid_t Id() const { return m_id; }
    [[nodiscard]] bool IsRunning();
    void Signal(int signal) const;
    // Waits for the end; the exit code, 128 plus the signal when one ended it.
    int Wait();
    [[nodiscard]] const rusage& Usage() const { return m_usage; }

    // Runs a command to its end and gives back what it printed and what it cost.
    static ProcessResult Run(const std::vector<std::string>& command, const Environment& environment = {},
                             const std::string& input = "");

private:
    pid_t m_id = 0;
    int m_exitCode = -1;
    rusage m_usage = {};
};

}  // namespace quillmark::testing
