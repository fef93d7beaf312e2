#include "moraine/platform/LoggerMutex.h"

#include <cerrno>
#include <chrono>
#include <ctime>
#include <mutex>
#include <new>

#include <fcntl.h>
#include <pthread.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

// The lock is an advisory lock (flock) on one well-known file. Such a lock belongs to an open file and not to a
// process, so each thread has a descriptor of its own, opened once and kept: opening it for every line would cost more
// than the lock. Nobody needs to write to the file, so a reader's descriptor will do, whoever made the file.

namespace moraine::platform {
namespace {

constexpr const char* lockPath = "/tmp/LoggerMutex.lock";

constexpr int none = -1;

/// What one thread has of the lock. Plain data, so that it outlives every destructor of the thread.
struct Holding {
    int descriptor;
    int depth;         // how often the thread has taken the lock
    bool ending;       // the thread's objects are going: nothing closes the descriptor later
    timespec checked;  // when the file was last seen to have its name
    Holding* previous;
    Holding* next;
};

thread_local Holding own{none, 0, false, {}, nullptr, nullptr};

/// All holdings with a descriptor, so that a forked child can close those of the threads that it does not have.
struct Registry {
    std::mutex mutex;
    Holding* first = nullptr;
    // Held with the lock, and where the lock cannot be had: what threads do behind each other is ordered by it, which a
    // lock on a file does not promise.
    std::timed_mutex inside;
};

Registry& registry() noexcept {
    static Registry everyone;
    return everyone;
}

/// Takes a holding out of the registry and closes its descriptor. Closing frees the lock, if it was held.
void giveUp(Holding& holding) noexcept {
    const std::lock_guard<std::mutex> guard(registry().mutex);
    (holding.previous != nullptr ? holding.previous->next : registry().first) = holding.next;
    if (holding.next != nullptr) {
        holding.next->previous = holding.previous;
    }
    ::close(holding.descriptor);
    holding.descriptor = none;
}

/// Waits for the line that another thread is writing, since a child would find its logger in the middle of it and write
/// the same line again from the file's buffer. But not for ever: the other thread may wait for this one, or for a
/// child. Meanwhile this thread counts as one that has the lock, so that handlers of others may log.
void beforeFork() {
    const auto patience = std::chrono::system_clock::now() + std::chrono::seconds(1);
    if (own.depth > 0 || registry().inside.try_lock_until(patience)) {
        ++own.depth;
    }
    registry().mutex.lock();
}

void afterForkInParent() {
    registry().mutex.unlock();
    if (own.depth > 0 && --own.depth == 0) {
        registry().inside.unlock();
    }
}

void afterForkInChild() {
    if (own.depth > 0) {
        registry().inside.unlock();
    } else {
        new (&registry().inside) std::timed_mutex;  // whoever has it is not here
    }
    for (Holding* holding = registry().first; holding != nullptr; holding = holding->next) {
        ::close(holding->descriptor);
        holding->descriptor = none;
        holding->depth = 0;
    }
    registry().first = nullptr;
    own.depth = 0;  // it may have the lock without a descriptor
    registry().mutex.unlock();
}

/// Registered when the library is loaded. A static in a function has a guard, and a child forked while another thread
/// is in there would wait at it for ever. A logger used before, by another static object, takes the 0 for success.
const int registered = ::pthread_atfork(beforeFork, afterForkInParent, afterForkInChild);

/// Closes the descriptor at the end of the thread.
struct AtThreadEnd {
    bool armed = false;
    ~AtThreadEnd() {
        own.ending = true;
        if (own.descriptor != none) {
            giveUp(own);
        }
    }
};

thread_local AtThreadEnd atThreadEnd;

int openRepeatedly(int flags) noexcept {
    int descriptor = none;
    do {
        // A file that is no plain file must not make anybody wait.
        descriptor = ::open(lockPath, flags | O_RDONLY | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY, 0666);
    } while (descriptor < 0 && errno == EINTR);
    return descriptor;
}

/// Opens the file, and makes it only if there is none: where everybody may write to the folder but each only to files
/// of his own, opening another user's file for making it is refused.
int openLockFile() noexcept {
    for (;;) {
        int descriptor = openRepeatedly(0);
        if (descriptor >= 0 || errno != ENOENT) {
            return descriptor;
        }
        descriptor = openRepeatedly(O_CREAT | O_EXCL);
        if (descriptor >= 0) {
            ::fchmod(descriptor, 0666);  // for everybody, whatever the umask
            return descriptor;
        }
        if (errno != EEXIST) {
            return descriptor;
        }
    }
}

/// Opens the file and puts the holding into the registry. Both at once, or a child forked in between would keep the
/// descriptor.
bool enlist(Holding& holding) noexcept {
    const std::lock_guard<std::mutex> guard(registry().mutex);
    holding.descriptor = openLockFile();
    holding.checked = {};
    if (holding.descriptor == none) {
        return false;
    }
    holding.previous = nullptr;
    holding.next = registry().first;
    if (holding.next != nullptr) {
        holding.next->previous = &holding;
    }
    registry().first = &holding;
    return true;
}

/// Whether the file still has its name. One that was cleaned away locks out nobody. The system is asked once in a tick
/// of its coarse clock, that is, in some milliseconds: to ask for every line would cost a quarter of writing the line.
bool isInPlace(Holding& holding) noexcept {
    timespec now{};
    ::clock_gettime(CLOCK_MONOTONIC_COARSE, &now);
    if (now.tv_sec == holding.checked.tv_sec && now.tv_nsec == holding.checked.tv_nsec) {
        return true;
    }
    struct stat status {};
    if (::fstat(holding.descriptor, &status) != 0 || status.st_nlink == 0) {
        return false;
    }
    holding.checked = now;
    return true;
}

bool lockRepeatedly(int descriptor) noexcept {
    int result = 0;
    do {
        result = ::flock(descriptor, LOCK_EX);
    } while (result != 0 && errno == EINTR);
    return result == 0;
}

/// Takes the lock for this thread, which does not have it; does nothing if that is impossible.
void acquire() noexcept {
    for (;;) {
        if (own.descriptor == none) {
            if (registered != 0 || !enlist(own)) {
                return;
            }
            if (!own.ending) {
                atThreadEnd.armed = true;  // makes the object, whose end is what counts
            }
        }
        if (!lockRepeatedly(own.descriptor) || isInPlace(own)) {
            return;
        }
        giveUp(own);
    }
}

}  // namespace

void LoggerMutex::lock() noexcept {
    if (own.depth == 0) {
        acquire();
        registry().inside.lock();
    }
    ++own.depth;
}

void LoggerMutex::unlock() noexcept {
    // In a child that was forked while the lock was held there is nothing to give back.
    if (own.depth == 0) {
        return;
    }
    --own.depth;
    if (own.depth > 0) {
        return;
    }
    registry().inside.unlock();
    if (own.descriptor != none && own.ending) {
        giveUp(own);
    } else if (own.descriptor != none) {
        ::flock(own.descriptor, LOCK_UN);
    }
}

}  // namespace moraine::platform
