// The lock of the toolkit, and what becomes of it around a fork.
#include "log/api_lock.h"

#include <pthread.h>

#include <atomic>
#include <cerrno>

#include "log/file_watch.h"
#include "log/message.h"
#include "runtime/status.h"

namespace vel::log {
namespace {

// It tells a thread that takes it twice. Being static it needs no making and is never destroyed, so
// that threads may open, close and log as they like.
constinit pthread_mutex_t api_mutex = PTHREAD_ERRORCHECK_MUTEX_INITIALIZER_NP;

// Around a fork: nobody else is inside then, and the child's only thread finds all in order. A fork
// by an operation of a class finds the lock held, and leaves it so on both sides.
bool held_by_forking_thread = false;

void before_fork() { held_by_forking_thread = pthread_mutex_lock(&api_mutex) == EDEADLK; }

void after_fork_in_parent() {
    if (!held_by_forking_thread) pthread_mutex_unlock(&api_mutex);
}

void after_fork_in_child() {
    api_mutex = PTHREAD_ERRORCHECK_MUTEX_INITIALIZER_NP;  // its owner was a thread of the parent
    if (held_by_forking_thread) pthread_mutex_lock(&api_mutex);
    forget_watches();
}

void watch_forks() {
    static constinit pthread_once_t once = PTHREAD_ONCE_INIT;
    static constinit std::atomic<bool> watched = false;  // a shorter way to ask
    if (watched.load(std::memory_order_acquire)) return;
    pthread_once(&once, [] {
        pthread_atfork(before_fork, after_fork_in_parent, after_fork_in_child);
        watched.store(true, std::memory_order_release);
    });
}

}  // namespace

ApiLock::ApiLock(Held held) {
    watch_forks();
    pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, &cancel_state_);
    const int error = pthread_mutex_lock(&api_mutex);
    held_ = error == 0;
    // A class operation has called a public form: the lock is this thread's, so it can be said.
    if (error == EDEADLK && held == kMustNotBeHeld) {
        pmxIntlReportPlatformErr(runtime::failed(error));
    }
}

ApiLock::~ApiLock() {
    if (held_) pthread_mutex_unlock(&api_mutex);
    pthread_setcancelstate(cancel_state_, nullptr);
}

}  // namespace vel::log
