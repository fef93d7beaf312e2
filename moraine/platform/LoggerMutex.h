#pragma once

/// @file
/// The lock named "LoggerMutex", one for all threads of all processes of the machine.

namespace moraine::platform {

/// A thread owns the lock from its first `lock` to the `unlock` that goes with it; in between it may take it again. The
/// kernel frees the lock of a process that dies. A forked child owns nothing and inherits no descriptor, whatever the
/// parent owned. Where the lock cannot be had at all, only the threads of one process exclude each other. Every object
/// is the same lock.
class LoggerMutex {
public:
    /// Waits without limit.
    void lock() noexcept;
    void unlock() noexcept;
};

}  // namespace moraine::platform
