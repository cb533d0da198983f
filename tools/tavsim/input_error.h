#ifndef TAVSIM_INPUT_ERROR_H
#define TAVSIM_INPUT_ERROR_H

#include <stdexcept>

namespace tavsim {

/// The user gave something wrong: an option or a file. The program ends with exit code 2.
class InputError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

}  // namespace tavsim

#endif
