#pragma once

#include <memory>

/// @file
/// The lock named "LoggerMutex", one for all threads of all processes of the machine.

namespace moraine::platform {

/// A logger's way to the lock. Every object leads to the same lock, and also keeps apart the threads that use this
/// object, so that one logger serves one thread at a time where the lock itself cannot be had.
///
/// A thread owns the lock from its first `lock` to the `unlock` that goes with it, and may take it again in between,
/// through whatever object. The system frees the lock of a process that dies. A forked child owns nothing, whatever its
/// parent owned. Between the calls nothing is kept but what belongs to the object. Neither call is a place where a
/// thread is cancelled.
class LoggerMutex {
public:
    /// @throws std::bad_alloc
    LoggerMutex();
    LoggerMutex(const LoggerMutex& other) = delete;
    ~LoggerMutex();
    LoggerMutex& operator=(const LoggerMutex& other) = delete;

    /// Waits without limit.
    void lock() noexcept;

    /// In a child that was forked by the thread that owned the lock there is nothing to give back.
    void unlock() noexcept;

private:
    struct State;
    const std::unique_ptr<State> state;
};

}  // namespace moraine::platform
