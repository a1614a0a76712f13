#include "integration/appliance/Process.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <system_error>

namespace appliance_test {

TemporaryFolder::TemporaryFolder() {
    m_path = (std::filesystem::temp_directory_path() / "appliance-test-XXXXXX").string();
    if (::mkdtemp(m_path.data()) == nullptr) {
        throw std::system_error(errno, std::generic_category(), "mkdtemp");
    }
}

TemporaryFolder::~TemporaryFolder() {
    std::error_code ignored;
    std::filesystem::remove_all(m_path, ignored);
}

std::string TemporaryFolder::Path(const std::string& name) const {
    return name.empty() ? m_path : m_path + '/' + name;
}

Process::Process(const std::vector<std::string>& arguments, const std::string& outputFile, const std::string& errorFile,
                 const std::string& inputFile) {
    std::vector<char*> argv;
    for (const std::string& argument : arguments) {
        argv.push_back(const_cast<char*>(argument.c_str()));
    }
    argv.push_back(nullptr);
    posix_spawn_file_actions_t files;
    posix_spawn_file_actions_init(&files);
    constexpr int create = O_WRONLY | O_CREAT | O_TRUNC;
    posix_spawn_file_actions_addopen(&files, 0, inputFile.c_str(), O_RDONLY, 0);
    posix_spawn_file_actions_addopen(&files, 1, outputFile.c_str(), create, 0600);
    posix_spawn_file_actions_addopen(&files, 2, errorFile.c_str(), create, 0600);
    const int error = ::posix_spawnp(&m_id, argv[0], &files, nullptr, argv.data(), environ);
    posix_spawn_file_actions_destroy(&files);
    if (error != 0) {
        throw std::system_error(error, std::generic_category(), arguments[0]);
    }
}

Process::~Process() {
    if (!m_over) {
        Signal(SIGKILL);
        Wait();
    }
}

void Process::Signal(int signal) const {
    if (!m_over) {
        ::kill(m_id, signal);
    }
}

int Process::Wait() {
    if (!m_over) {
        int status = 0;
        ::waitpid(m_id, &status, 0);
        m_over = true;
        m_result = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    }
    return m_result;
}

bool Process::IsRunning() {
    int status = 0;
    if (!m_over && ::waitpid(m_id, &status, WNOHANG) == m_id) {
        m_over = true;
        m_result = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    }
    return !m_over;
}

std::string ReadFile(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>());
}

void WriteFile(const std::string& path, const std::string& content) {
    std::ofstream file(path, std::ios::binary);
    file << content;
    if (!file.flush()) {
        throw std::runtime_error("cannot write " + path);
    }
}

}  // namespace appliance_test
