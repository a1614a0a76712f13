#include "integration/support/Become.h"

#include <unistd.h>

#include <csignal>
#include <cstdlib>

namespace quillmark::testing {

void Become(const std::vector<std::string>& command, const Process::Environment& environment) {
    for (const auto& [name, value] : environment) {
        value.empty() ? ::unsetenv(name.c_str()) : ::setenv(name.c_str(), value.c_str(), 1);
    }
    // A test that runs in the background of a script has been made to ignore Ctrl-C, and hands that on.
    for (const int signal : {SIGINT, SIGQUIT, SIGHUP, SIGTERM}) {
        ::signal(signal, SIG_DFL);
    }
    sigset_t none;
    sigemptyset(&none);
    ::sigprocmask(SIG_SETMASK, &none, nullptr);
    std::vector<char*> arguments;
    for (const std::string& argument : command) {
        arguments.push_back(const_cast<char*>(argument.c_str()));
    }
    arguments.push_back(nullptr);
    ::execvp(arguments[0], arguments.data());
    ::_exit(127);
}

}  // namespace quillmark::testing
