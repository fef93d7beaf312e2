#pragma once

/// @file
/// Handles of threads that clients have started.

namespace moraine::platform {

/// Gives up a thread's handle: its resources go when it ends. On this kind of system a handle is the value of a
/// `pthread_t`.
void closeThread(void* handle) noexcept;

}  // namespace moraine::platform
