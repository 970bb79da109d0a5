// Threads and mutexes.
#include <pthread.h>
#include <unistd.h>

#include "runtime/cx_os.h"
#include "runtime/rak.h"
#include "runtime/status.h"

namespace vel::runtime {

// Of a call that returns an error number.
static CxStatus status_of_error(int error) { return error == 0 ? ok() : failed(error); }

}  // namespace vel::runtime

using namespace vel::runtime;

int CxHasThreadSupport(void) { return 1; }

CxStatus CxThreadCreate(CxThread* thread, size_t stack_size, void* (*start)(void*),
                        void* argument) {
    if (thread == nullptr || start == nullptr) return failed(EINVAL);
    pthread_attr_t attributes;
    int error = pthread_attr_init(&attributes);
    if (error != 0) return failed(error);
    if (stack_size != 0) error = pthread_attr_setstacksize(&attributes, stack_size);
    if (error == 0) error = pthread_create(thread, &attributes, start, argument);
    pthread_attr_destroy(&attributes);
    return status_of_error(error);
}

CxStatus CxThreadJoin(CxThread thread) { return status_of_error(pthread_join(thread, nullptr)); }

void CxThreadYield(void) {}

void CxThreadSleep(uint32_t milliseconds) {
    constexpr uint32_t kSecond = 1000;
    // Rounded to whole seconds, so that less than half of one is none.
    sleep(milliseconds / kSecond + (milliseconds % kSecond >= kSecond / 2 ? 1 : 0));
}

uint32_t CxThreadGetCurrentID(void) { return static_cast<uint32_t>(pthread_self()); }

CxStatus CxMutexCreate(CxMutex* mutex) {
    if (mutex == nullptr) return failed(EINVAL);
    *mutex = static_cast<CxMutex>(RakMemoryMalloc(sizeof(pthread_mutex_t)));
    if (*mutex == nullptr) return failed(ENOMEM);
    const int error = pthread_mutex_init(*mutex, nullptr);
    if (error != 0) {
        RakMemoryFree(*mutex);
        *mutex = nullptr;
    }
    return status_of_error(error);
}

CxStatus CxMutexLock(CxMutex mutex) {
    return status_of_error(mutex == nullptr ? EINVAL : pthread_mutex_lock(mutex));
}

CxStatus CxMutexUnlock(CxMutex mutex) {
    return status_of_error(mutex == nullptr ? EINVAL : pthread_mutex_unlock(mutex));
}

CxStatus CxMutexDestroy(CxMutex* mutex) {
    if (mutex == nullptr || *mutex == nullptr) return failed(EINVAL);
    const int error = pthread_mutex_destroy(*mutex);
    RakMemoryFree(*mutex);
    *mutex = nullptr;
    return status_of_error(error);
}
