// The functions of libcrypto that the tests and tavsim call, for hosts that have none. They answer what
// libcrypto answered elsewhere, as told by the file TAVTEST_VECTORS. What is not in it they refuse, and say
// so on stderr.

#include <openssl/evp.h>
#include <openssl/provider.h>

#include <cstddef>
#include <cstdio>
#include <cstring>
#include <optional>
#include <string>

#include "vectors/vectors.h"

struct evp_md_ctx_st {
  tavtest::DigestInput input;
};

struct evp_cipher_ctx_st {
  std::string key;
  bool encrypts = false;
};

namespace {

constexpr std::size_t kBlock = 8;
constexpr int kDone = 1;
constexpr int kRefused = 0;

std::string bytes_of(const void* bytes, std::size_t size) {
  return {static_cast<const char*>(bytes), size};
}

// Writes the answer to `out`.
int answer(const std::string& question, unsigned char* out) {
  static const auto* const vectors =
      new tavtest::Vectors(TAVTEST_VECTORS);  // asked until the program is gone
  const std::optional<std::string> found = vectors->answer(question);
  if (!found) {
    std::fprintf(stderr, "no vector: %s\n", question.c_str());
    return kRefused;
  }
  std::memcpy(out, found->data(), found->size());
  return kDone;
}

// What there is one of: nothing looks into it.
template <typename T>
T* only() {
  static char place;
  return reinterpret_cast<T*>(&place);
}

}  // namespace

extern "C" {

OSSL_LIB_CTX* OSSL_LIB_CTX_new() {
  return only<OSSL_LIB_CTX>();
}
void OSSL_LIB_CTX_free(OSSL_LIB_CTX* /*context*/) {}
OSSL_PROVIDER* OSSL_PROVIDER_load(OSSL_LIB_CTX* /*context*/, const char* /*name*/) {
  return only<OSSL_PROVIDER>();
}
int OSSL_PROVIDER_unload(OSSL_PROVIDER* /*provider*/) {
  return kDone;
}

EVP_MD* EVP_MD_fetch(OSSL_LIB_CTX* /*context*/, const char* /*name*/, const char* /*properties*/) {
  return only<EVP_MD>();
}
void EVP_MD_free(EVP_MD* /*type*/) {}
const EVP_MD* EVP_md5() {
  return only<EVP_MD>();
}
EVP_MD_CTX* EVP_MD_CTX_new() {
  return new EVP_MD_CTX;
}
void EVP_MD_CTX_free(EVP_MD_CTX* context) {
  delete context;
}

int EVP_Digest(const void* data, size_t count, unsigned char* md, unsigned int* /*size*/,
               const EVP_MD* /*type*/, ENGINE* /*engine*/) {
  tavtest::DigestInput input;
  input.add(bytes_of(data, count));
  return answer(input.question(), md);
}

int EVP_DigestInit_ex2(EVP_MD_CTX* context, const EVP_MD* /*type*/, const OSSL_PARAM /*params*/[]) {
  context->input = {};
  return kDone;
}

int EVP_DigestUpdate(EVP_MD_CTX* context, const void* data, size_t count) {
  context->input.add(bytes_of(data, count));
  return kDone;
}

int EVP_DigestFinal_ex(EVP_MD_CTX* context, unsigned char* md, unsigned int* /*size*/) {
  return answer(context->input.question(), md);
}

EVP_CIPHER* EVP_CIPHER_fetch(OSSL_LIB_CTX* /*context*/, const char* /*name*/, const char* /*properties*/) {
  return only<EVP_CIPHER>();
}
void EVP_CIPHER_free(EVP_CIPHER* /*cipher*/) {}
EVP_CIPHER_CTX* EVP_CIPHER_CTX_new() {
  return new EVP_CIPHER_CTX;
}
void EVP_CIPHER_CTX_free(EVP_CIPHER_CTX* context) {
  delete context;
}
int EVP_CIPHER_CTX_set_padding(EVP_CIPHER_CTX* /*context*/, int /*padding*/) {
  return kDone;
}

int EVP_CIPHER_CTX_set_key_length(EVP_CIPHER_CTX* context, int size) {
  context->key.resize(static_cast<std::size_t>(size));
  return kDone;
}

int EVP_CipherInit_ex2(EVP_CIPHER_CTX* context, const EVP_CIPHER* /*cipher*/, const unsigned char* key,
                       const unsigned char* /*iv*/, int encrypt, const OSSL_PARAM /*params*/[]) {
  context->encrypts = encrypt != 0;
  if (key != nullptr) context->key = bytes_of(key, context->key.size());
  return kDone;
}

int EVP_DecryptInit_ex2(EVP_CIPHER_CTX* context, const EVP_CIPHER* cipher, const unsigned char* key,
                        const unsigned char* iv, const OSSL_PARAM params[]) {
  return EVP_CipherInit_ex2(context, cipher, key, iv, 0, params);
}

int EVP_CipherUpdate(EVP_CIPHER_CTX* context, unsigned char* out, int* written, const unsigned char* in,
                     int size) {
  const std::string given = bytes_of(in, static_cast<std::size_t>(size));  // `out` may be `in`
  const auto question = context->encrypts ? tavtest::encipher_question : tavtest::decipher_question;
  for (std::size_t at = 0; at + kBlock <= given.size(); at += kBlock) {
    if (answer(question(context->key, given.substr(at, kBlock)), out + at) != kDone) return kRefused;
  }
  *written = size;
  return kDone;
}

int EVP_DecryptUpdate(EVP_CIPHER_CTX* context, unsigned char* out, int* written, const unsigned char* in,
                      int size) {
  return EVP_CipherUpdate(context, out, written, in, size);
}

}  // extern "C"
