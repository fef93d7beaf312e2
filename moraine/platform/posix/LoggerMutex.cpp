#include "moraine/platform/LoggerMutex.h"

#include <sched.h>
#include <sys/ipc.h>
#include <sys/sem.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>

#include "moraine/platform/Thread.h"

// The lock is a System V semaphore with a key of its own: 0 is free and 1 is taken, so a new one needs no first value.
// It is asked for anew for each line, and nothing of it is kept: no descriptor, which a program may close and a child
// inherits, and no memory, which another user may spoil. The system takes back what a process that dies has added
// (SEM_UNDO); a forked child has no part in that. The mode of a new semaphore is not subject to the process's umask.

namespace moraine::platform {
namespace {

constexpr key_t key = 0x4C6F674D;  // "LogM"; docs/logger.md names it

constexpr int none = -1;

/// What the thread has of the lock. A forked child finds the values of the thread that forked it.
struct Holding {
    pid_t process;  // in which they are true
    int depth;      // how often the thread has taken the lock
    int semaphore;  // which it took, or none
};

thread_local Holding own{0, 0, none};

sembuf step(short change, int flags) noexcept {
    sembuf result{};
    result.sem_op = change;
    result.sem_flg = static_cast<short>(flags);
    return result;
}

/// Waits until the semaphore is free and takes it; false, with `errno` set, if that is impossible. The first attempts
/// only look: who waits in the system gets the lock handed over, and with lines that follow one another each would then
/// cost two changes of the running process.
bool take(int semaphore) noexcept {
    constexpr int looks = 32;
    sembuf steps[] = {step(0, IPC_NOWAIT), step(1, SEM_UNDO)};
    for (int i = 0; ::semop(semaphore, steps, 2) != 0; ++i) {
        if (errno != EAGAIN && errno != EINTR) {
            return false;
        }
        if (i < looks) {
            ::sched_yield();
        } else {
            steps[0] = step(0, 0);
        }
    }
    return true;
}

/// Takes the semaphore and returns its number, or none if it cannot be had. One that is removed meanwhile is made anew.
int acquire() noexcept {
    constexpr int attempts = 1000;  // of which more than one or two fail only if somebody wants that
    for (int i = 0; i < attempts; ++i) {
        const int semaphore = ::semget(key, 1, IPC_CREAT | 0666);
        if (semaphore == none || take(semaphore)) {
            return semaphore;
        }
        if (errno != EIDRM && errno != EINVAL) {
            return none;
        }
    }
    return none;
}

/// Gives the semaphore back. It may have been removed or set free meanwhile by somebody else.
void release(int semaphore) noexcept {
    sembuf back = step(-1, SEM_UNDO | IPC_NOWAIT);
    static_cast<void>(::semop(semaphore, &back, 1));
}

}  // namespace

/// Which thread is using the object. Usually it is free when it is asked for, since the semaphore comes first: only
/// where that cannot be had do threads wait here, and then they ask again and again. A mutex of the standard library
/// would wait better, but not be of use in a child that was forked while another thread held it.
struct LoggerMutex::State {
    std::atomic<pid_t> process{0};  // 0 if no thread uses it; that of a former process counts as 0
    std::atomic<const Holding*> thread{nullptr};
    int depth = 0;

    void enter() noexcept {
        const pid_t self = own.process;
        if (process.load() == self && thread.load() == &own) {
            ++depth;
            return;
        }
        for (pid_t user = 0; !process.compare_exchange_weak(user, self);) {
            if (user == self) {
                pause();
                user = 0;
            }
        }
        thread.store(&own);
        depth = 1;
    }

    void leave() noexcept {
        if (--depth == 0) {
            thread.store(nullptr);
            process.store(0);
        }
    }

    static void pause() noexcept {
        const CancellationHold hold;
        ::usleep(100);
    }
};

LoggerMutex::LoggerMutex() : state(std::make_unique<State>()) {}

LoggerMutex::~LoggerMutex() = default;

void LoggerMutex::lock() noexcept {
    const pid_t self = ::getpid();
    if (own.process != self) {
        own = {self, 0, none};
    }
    if (own.depth == 0) {
        own.semaphore = acquire();
    }
    ++own.depth;
    state->enter();
}

void LoggerMutex::unlock() noexcept {
    if (own.process != ::getpid() || own.depth == 0) {
        return;
    }
    state->leave();
    --own.depth;
    if (own.depth == 0 && own.semaphore != none) {
        release(own.semaphore);
    }
}

}  // namespace moraine::platform
