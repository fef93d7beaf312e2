#include "moraine/platform/Thread.h"

#include <pthread.h>

#include <cstring>

namespace moraine::platform {

CancellationHold::CancellationHold() noexcept {
    ::pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, &former);
}

CancellationHold::~CancellationHold() {
    ::pthread_setcancelstate(former, nullptr);
}

void closeThread(void* handle) noexcept {
    static_assert(sizeof(pthread_t) == sizeof(void*), "a thread's handle must fit a pointer");
    pthread_t thread{};
    std::memcpy(&thread, &handle, sizeof thread);
    ::pthread_detach(thread);
}

}  // namespace moraine::platform
