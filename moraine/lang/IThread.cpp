#include "moraine/lang/IThread.h"

#include "moraine/platform/Thread.h"

namespace moraine::lang {

IThread::IThread() = default;

IThread::~IThread() {
    closeHandle();
}

void IThread::threadBody(void* arg) {
    auto* const thread = static_cast<IThread*>(arg);
    thread->run();
    thread->closeHandle();
}

void IThread::setThreadHandle(void* handle) {
    threadHandle.store(handle);
}

void* IThread::getThreadHandle() {
    return threadHandle.load();
}

void IThread::setThreadName(const WideChar* name) {
    threadName = text::copyOf(name);
}

const WideChar* IThread::getThreadName() {
    return threadName.get();
}

/// Whoever takes the handle out closes it.
void IThread::closeHandle() noexcept {
    if (void* const handle = threadHandle.exchange(nullptr)) {
        platform::closeThread(handle);
    }
}

}  // namespace moraine::lang
