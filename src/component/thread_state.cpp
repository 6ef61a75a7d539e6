// The per-thread state behind one POSIX key, created when the library is
// loaded and deleted when it is unloaded.
#include "component/thread_state.hpp"

#include <pthread.h>

#include <new>

namespace tympora::component {
namespace {

void DestroyState(void* state) noexcept { delete static_cast<ThreadState*>(state); }

class StateKey {
 public:
  StateKey() noexcept { ready_ = pthread_key_create(&key_, DestroyState) == 0; }
  // At unload or exit: the calling thread's state goes with the key (exit
  // runs no key destructor for the main thread). The states of threads that
  // are still running cannot be reached any more and are left to them.
  ~StateKey() {
    if (!ready_) return;
    ready_ = false;
    DestroyState(pthread_getspecific(key_));
    pthread_key_delete(key_);
  }
  StateKey(const StateKey&) = delete;
  StateKey& operator=(const StateKey&) = delete;

  ThreadState* Get() noexcept {
    if (!ready_) return nullptr;
    if (void* state = pthread_getspecific(key_)) return static_cast<ThreadState*>(state);
    auto* state = new (std::nothrow) ThreadState();
    if (state && pthread_setspecific(key_, state) != 0) {
      delete state;
      state = nullptr;
    }
    return state;
  }

 private:
  pthread_key_t key_{};
  bool ready_ = false;
};

StateKey state_key;

}  // namespace

ThreadState* CurrentThreadState() noexcept { return state_key.Get(); }

}  // namespace tympora::component
