/// What ends a command. Each becomes one line on standard error; the classes differ in the exit code.
#pragma once

#include <stdexcept>

/// The command could not do its work: exit code 1.
class Failure : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// The command line asks for something that does not exist: exit code 2.
class UsageFailure : public Failure {
public:
    using Failure::Failure;
};

/// The reader of the output has gone: exit code 1, without a message.
class BrokenPipe : public Failure {
public:
    BrokenPipe() : Failure("broken pipe") {}
};

/// A signal asked the program to end: it cleans up and dies by that signal.
class Interrupted : public std::exception {
public:
    explicit Interrupted(int signal) : signal_(signal) {}
    int Signal() const { return signal_; }
    const char* what() const noexcept override { return "interrupted"; }

private:
    int signal_;
};
