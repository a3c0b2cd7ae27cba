#pragma once

#include <stdexcept>
#include <string>

namespace znconvert {

// Exit statuses: 0 success, 1 the conversion could not be done, 2 the command line is wrong.
constexpr int kExitFailure = 1;
constexpr int kExitUsage = 2;

// Ends the run with a one-line message on standard error and a non-zero exit status.
class CommandError : public std::runtime_error {
public:
    CommandError(const std::string& message, int exitCode)
        : std::runtime_error(message), mExitCode(exitCode) {}
    int ExitCode() const { return mExitCode; }

private:
    int mExitCode;
};

[[noreturn]] inline void Fail(const std::string& message) {
    throw CommandError(message, kExitFailure);
}

[[noreturn]] inline void UsageFail(const std::string& message) {
    throw CommandError(message, kExitUsage);
}

}  // namespace znconvert
