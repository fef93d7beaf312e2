#pragma once

/// @file
/// Threads that clients have started.

namespace moraine::platform {

/// Gives up a thread's handle: its resources go when it ends. On this kind of system a handle is the value of a
/// `pthread_t`.
void closeThread(void* handle) noexcept;

/// While it lives, nobody cancels the thread that made it; who tries to has success afterwards.
class CancellationHold {
public:
    CancellationHold() noexcept;
    CancellationHold(const CancellationHold& other) = delete;
    ~CancellationHold();
    CancellationHold& operator=(const CancellationHold& other) = delete;

private:
    int former = 0;
};

}  // namespace moraine::platform
