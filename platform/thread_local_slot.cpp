#include <tavlib/platform/error_state.h>
#include <tavlib/platform/thread_local_slot.h>

ATls::ATls() : ATls(nullptr) {}

ATls::ATls(void (*destructor)(void*)) {
  if (pthread_key_create(&key, destructor) != 0) throw ATlsException(GetRtlError());
  created = 1;
}

ATls::~ATls() {
  if (created != 0) pthread_key_delete(key);
}

int ATls::SetValue(void* value) {
  return pthread_setspecific(key, value) == 0 ? 1 : 0;
}

void* ATls::GetValue() {
  return pthread_getspecific(key);
}
