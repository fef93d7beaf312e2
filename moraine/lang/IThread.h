#pragma once

#include <atomic>
#include <memory>

#include "moraine/Export.h"
#include "moraine/WideChar.h"

namespace moraine::lang {

/// The base of an object whose work runs on a thread of its own.
///
/// It holds a thread, but neither starts nor awaits one. A client derives from it, implements `run`, starts a thread on
/// `threadBody` with the object's address as argument, and hands the thread's handle to `setThreadHandle`. The object
/// must outlive the thread.
///
///     struct Start {
///         moraine::lang::IThread* worker = nullptr;
///         std::promise<void> ended;
///     };
///     void* entry(void* argument) {  // what pthread_create wants
///         const std::unique_ptr<Start> start(static_cast<Start*>(argument));
///         moraine::lang::IThread::threadBody(start->worker);
///         start->ended.set_value();  // the object is no longer in use
///         return nullptr;
///     }
///
///     auto start = std::make_unique<Start>();
///     start->worker = &worker;
///     std::future<void> ended = start->ended.get_future();
///     pthread_t thread{};
///     if (pthread_create(&thread, nullptr, entry, start.get()) == 0) {
///         static_cast<void>(start.release());  // belongs to the thread
///         worker.setThreadHandle(reinterpret_cast<void*>(thread));
///         ended.wait();  // before the worker ends
///     }
///
/// The handle is the value of a `pthread_t`. The object owns it and closes it exactly once, which means
/// `pthread_detach`: when `run` has returned, or, if it was stored only after that, when the object ends. A detached
/// thread cannot be joined. The system frees what it used when it ends, and nobody can wait for that moment: what the
/// entry function does after the call of `threadBody` may still run when `main` returns, which ends it. So a client
/// waits for what the thread tells after `threadBody`, as above; not for something told from within `run`, since the
/// object is in use after `run` has returned.
///
/// The handle may be set and read by the client while the thread ends. The name is for one thread at a time. Not
/// copyable.
class MORAINE_API IThread {
public:
    /// No handle, no name.
    IThread();
    IThread(const IThread& other) = delete;

    /// Closes the handle, if there still is one.
    virtual ~IThread();

    IThread& operator=(const IThread& other) = delete;

    /// The thread's work. What it throws is not caught by `threadBody`.
    virtual void run() = 0;

    /// The entry of the thread: calls `run`, then closes the handle if there is one. May also be called on the caller's
    /// own thread.
    /// @param arg an `IThread*`, converted to `void*` from exactly that type
    static void threadBody(void* arg);

    /// Stores a handle, which then belongs to the object. One held before is not closed. Null is none.
    void setThreadHandle(void* handle);

    /// The handle, null if there is none or it has been closed.
    void* getThreadHandle();

    /// Keeps a copy of a zero-terminated name, which may be the present one. A null name counts as empty.
    /// @throws std::bad_alloc if there is no room; the name is as it was
    void setThreadName(const WideChar* name);

    /// The name, null if none was set. Belongs to the object and is good until the next `setThreadName`.
    const WideChar* getThreadName();

private:
    MORAINE_HIDDEN void closeHandle() noexcept;

    std::atomic<void*> threadHandle{nullptr};
    std::unique_ptr<WideChar[]> threadName;
};

}  // namespace moraine::lang
