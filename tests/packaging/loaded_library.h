#ifndef TAVLIB_TESTS_PACKAGING_LOADED_LIBRARY_H
#define TAVLIB_TESTS_PACKAGING_LOADED_LIBRARY_H

#include <dlfcn.h>

#include <stdexcept>
#include <string>

namespace tavtest {

/// A shared object, loaded with dlopen for as long as this lives.
class LoadedLibrary {
 public:
  explicit LoadedLibrary(const char* path) : handle_(dlopen(path, RTLD_NOW | RTLD_LOCAL)) {
    if (handle_ == nullptr) throw std::runtime_error(dlerror());
  }
  ~LoadedLibrary() { dlclose(handle_); }

  LoadedLibrary(const LoadedLibrary&) = delete;
  LoadedLibrary& operator=(const LoadedLibrary&) = delete;

  /// The function of that name.
  template <typename Function>
  Function* find(const std::string& name) const {
    void* const symbol = dlsym(handle_, name.c_str());
    if (symbol == nullptr) throw std::runtime_error(dlerror());
    return reinterpret_cast<Function*>(symbol);
  }

 private:
  void* handle_;
};

}  // namespace tavtest

/// A function of a loaded library, as a header declares it.
#define LOADED(library, function) (library).find<decltype(function)>(#function)

#endif
