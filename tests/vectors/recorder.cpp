// A library to load before libcrypto: hands every call on to it, and adds what it answered to the file that
// the environment variable TAVTEST_RECORD names.

#include <fcntl.h>
#include <openssl/evp.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <cstddef>
#include <cstdlib>
#include <map>
#include <mutex>
#include <string>

#include "support/next_symbol.h"
#include "vectors/vectors.h"

namespace {

constexpr std::size_t kBlock = 8;
constexpr std::size_t kDigest = 16;

std::string bytes_of(const void* bytes, std::size_t size) {
  return {static_cast<const char*>(bytes), size};
}

// The file is open only while something is written: a test may count its descriptors, or have none left. What
// cannot be written then is written with what follows. The tests replace calls of libc, so they are not used.
class Recording {
 public:
  void begin_digest(EVP_MD_CTX* context) {
    const std::lock_guard lock(mutex_);
    inputs_[context] = {};
  }

  void update_digest(EVP_MD_CTX* context, const std::string& more) {
    const std::lock_guard lock(mutex_);
    inputs_[context].add(more);
  }

  void end_digest(EVP_MD_CTX* context, const std::string& digest) {
    const std::lock_guard lock(mutex_);
    write(inputs_[context].question() + tavtest::answer_line(digest));
  }

  void digest(const std::string& input, const std::string& digest) {
    const std::lock_guard lock(mutex_);
    tavtest::DigestInput whole;
    whole.add(input);
    write(whole.question() + tavtest::answer_line(digest));
  }

  void forget(EVP_MD_CTX* context) {
    const std::lock_guard lock(mutex_);
    inputs_.erase(context);
  }

  void set_key_size(EVP_CIPHER_CTX* context, int size) {
    const std::lock_guard lock(mutex_);
    keys_[context].resize(static_cast<std::size_t>(size));
  }

  void set_key(EVP_CIPHER_CTX* context, const unsigned char* bytes) {
    const std::lock_guard lock(mutex_);
    std::string& key = keys_[context];
    key = bytes_of(bytes, key.size());
  }

  void blocks(EVP_CIPHER_CTX* context, const std::string& plain, const std::string& cipher) {
    const std::lock_guard lock(mutex_);
    const std::string& key = keys_[context];
    std::string lines;
    for (std::size_t at = 0; at + kBlock <= plain.size(); at += kBlock) {
      const std::string from = plain.substr(at, kBlock);
      const std::string to = cipher.substr(at, kBlock);
      lines += tavtest::encipher_question(key, from) + tavtest::answer_line(to);
      lines += tavtest::decipher_question(key, to) + tavtest::answer_line(from);
    }
    write(lines);
  }

  void forget(EVP_CIPHER_CTX* context) {
    const std::lock_guard lock(mutex_);
    keys_.erase(context);
  }

 private:
  void write(const std::string& lines) {
    pending_ += lines;
    const int error = errno;
    const long file = syscall(SYS_openat, AT_FDCWD, std::getenv("TAVTEST_RECORD"),
                              O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0644);
    if (file >= 0) {
      const long written = syscall(SYS_write, file, pending_.data(), pending_.size());
      if (written == static_cast<long>(pending_.size())) pending_.clear();
      syscall(SYS_close, file);
    }
    errno = error;
  }

  std::mutex mutex_;
  std::map<EVP_MD_CTX*, tavtest::DigestInput> inputs_;
  std::map<EVP_CIPHER_CTX*, std::string> keys_;
  std::string pending_;
};

Recording& recording() {
  static auto* const it = new Recording;  // libcrypto is called until the program is gone
  return *it;
}

}  // namespace

// libcrypto's own function of that name.
#define NEXT(function) tavtest::next_symbol<decltype(function)>(#function)

extern "C" {

int EVP_Digest(const void* data, size_t count, unsigned char* md, unsigned int* size, const EVP_MD* type,
               ENGINE* engine) {
  static const auto next = NEXT(EVP_Digest);
  const int result = next(data, count, md, size, type, engine);
  if (result == 1) recording().digest(bytes_of(data, count), bytes_of(md, kDigest));
  return result;
}

int EVP_DigestInit_ex2(EVP_MD_CTX* context, const EVP_MD* type, const OSSL_PARAM params[]) {
  static const auto next = NEXT(EVP_DigestInit_ex2);
  recording().begin_digest(context);
  return next(context, type, params);
}

int EVP_DigestUpdate(EVP_MD_CTX* context, const void* data, size_t count) {
  static const auto next = NEXT(EVP_DigestUpdate);
  recording().update_digest(context, bytes_of(data, count));
  return next(context, data, count);
}

int EVP_DigestFinal_ex(EVP_MD_CTX* context, unsigned char* md, unsigned int* size) {
  static const auto next = NEXT(EVP_DigestFinal_ex);
  const int result = next(context, md, size);
  if (result == 1) recording().end_digest(context, bytes_of(md, kDigest));
  return result;
}

void EVP_MD_CTX_free(EVP_MD_CTX* context) {
  static const auto next = NEXT(EVP_MD_CTX_free);
  recording().forget(context);
  next(context);
}

int EVP_CIPHER_CTX_set_key_length(EVP_CIPHER_CTX* context, int size) {
  static const auto next = NEXT(EVP_CIPHER_CTX_set_key_length);
  recording().set_key_size(context, size);
  return next(context, size);
}

int EVP_CipherInit_ex2(EVP_CIPHER_CTX* context, const EVP_CIPHER* cipher, const unsigned char* key,
                       const unsigned char* iv, int encrypt, const OSSL_PARAM params[]) {
  static const auto next = NEXT(EVP_CipherInit_ex2);
  if (key != nullptr) recording().set_key(context, key);
  return next(context, cipher, key, iv, encrypt, params);
}

int EVP_DecryptInit_ex2(EVP_CIPHER_CTX* context, const EVP_CIPHER* cipher, const unsigned char* key,
                        const unsigned char* iv, const OSSL_PARAM params[]) {
  static const auto next = NEXT(EVP_DecryptInit_ex2);
  if (key != nullptr) recording().set_key(context, key);
  return next(context, cipher, key, iv, params);
}

int EVP_CipherUpdate(EVP_CIPHER_CTX* context, unsigned char* out, int* written, const unsigned char* in,
                     int size) {
  static const auto next = NEXT(EVP_CipherUpdate);
  const std::string given = bytes_of(in, static_cast<std::size_t>(size));
  const int result = next(context, out, written, in, size);
  if (result != 1) return result;
  const std::string made = bytes_of(out, static_cast<std::size_t>(*written));
  const bool encrypts = EVP_CIPHER_CTX_is_encrypting(context) != 0;
  recording().blocks(context, encrypts ? given : made, encrypts ? made : given);
  return result;
}

int EVP_DecryptUpdate(EVP_CIPHER_CTX* context, unsigned char* out, int* written, const unsigned char* in,
                      int size) {
  static const auto next = NEXT(EVP_DecryptUpdate);
  const std::string given = bytes_of(in, static_cast<std::size_t>(size));
  const int result = next(context, out, written, in, size);
  if (result == 1) recording().blocks(context, bytes_of(out, static_cast<std::size_t>(*written)), given);
  return result;
}

void EVP_CIPHER_CTX_free(EVP_CIPHER_CTX* context) {
  static const auto next = NEXT(EVP_CIPHER_CTX_free);
  recording().forget(context);
  next(context);
}

}  // extern "C"
