// A child process with its standard output and error in files, and a folder that is gone when the test is over.
#pragma once

#include <sys/types.h>

#include <string>
#include <vector>

namespace appliance_test {

class TemporaryFolder {
public:
    TemporaryFolder();
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;
    ~TemporaryFolder();

    [[nodiscard]] std::string Path(const std::string& name = "") const;

private:
    std::string m_path;
};

class Process {
public:
    // Standard input is empty unless a file is named.
    Process(const std::vector<std::string>& arguments, const std::string& outputFile, const std::string& errorFile,
            const std::string& inputFile = "/dev/null");
    Process(const Process&) = delete;
    Process& operator=(const Process&) = delete;
    // Kills what still runs.
    ~Process();

    void Signal(int signal) const;
    // Waits for the end: the exit code, or 128 and the signal that ended it.
    int Wait();
    [[nodiscard]] bool IsRunning();

private:
    pid_t m_id = -1;
    bool m_over = false;
    int m_result = 0;
};

std::string ReadFile(const std::string& path);
void WriteFile(const std::string& path, const std::string& content);

}  // namespace appliance_test
