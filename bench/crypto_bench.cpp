// MD5 and Blowfish beside libcrypto's, for the sizes of packets: 100 bytes (most requests) to 4096 (the
// largest).

#include <benchmark/benchmark.h>
#include <openssl/evp.h>
#include <openssl/provider.h>
#include <tavlib/protocol/blowfish.h>
#include <tavlib/protocol/digest.h>

#include <array>
#include <cstdint>
#include <memory>
#include <vector>

namespace {

constexpr int kKeySize = 5;
unsigned char key[kKeySize] = {'s', 'e', 'c', 'r', 'e'};

std::vector<unsigned char> packet_of(benchmark::State& state) {
  return std::vector<unsigned char>(static_cast<std::size_t>(state.range(0)), 0x5a);
}

void report_bytes(benchmark::State& state) {
  state.SetBytesProcessed(state.iterations() * state.range(0));
}

void md5_tavlib(benchmark::State& state) {
  const auto packet = packet_of(state);
  std::array<unsigned char, 16> digest{};
  for ([[maybe_unused]] auto turn : state) {
    MakeDigest(digest.data(), packet.data(), static_cast<unsigned>(packet.size()));
    benchmark::DoNotOptimize(digest);
  }
  report_bytes(state);
}

void md5_libcrypto(benchmark::State& state) {
  const auto packet = packet_of(state);
  std::array<unsigned char, 16> digest{};
  const std::unique_ptr<EVP_MD, decltype(&EVP_MD_free)> md5(EVP_MD_fetch(nullptr, "MD5", nullptr),
                                                            EVP_MD_free);
  const std::unique_ptr<EVP_MD_CTX, decltype(&EVP_MD_CTX_free)> context(EVP_MD_CTX_new(), EVP_MD_CTX_free);
  for ([[maybe_unused]] auto turn : state) {
    EVP_DigestInit_ex2(context.get(), md5.get(), nullptr);
    EVP_DigestUpdate(context.get(), packet.data(), packet.size());
    EVP_DigestFinal_ex(context.get(), digest.data(), nullptr);
    benchmark::DoNotOptimize(digest);
  }
  report_bytes(state);
}

void blowfish_tavlib(benchmark::State& state) {
  const auto packet = packet_of(state);
  CBlowfish cipher(key, kKeySize);
  std::vector<unsigned char> out(packet.size() + 8);
  for ([[maybe_unused]] auto turn : state) {
    cipher.encryptString(packet.data(), static_cast<unsigned>(packet.size()), out.data(),
                         static_cast<unsigned>(out.size()));
    benchmark::DoNotOptimize(out.data());
  }
  report_bytes(state);
}

/// Blowfish in electronic code book mode from libcrypto's legacy provider.
class LibcryptoBlowfish {
 public:
  LibcryptoBlowfish() { rekey(); }

  void rekey() {
    EVP_EncryptInit_ex2(context.get(), cipher.get(), nullptr, nullptr, nullptr);
    EVP_CIPHER_CTX_set_key_length(context.get(), kKeySize);
    EVP_CIPHER_CTX_set_padding(context.get(), 0);
    EVP_EncryptInit_ex2(context.get(), nullptr, key, nullptr, nullptr);
  }

  void encrypt(const std::vector<unsigned char>& in, std::vector<unsigned char>& out) {
    int written = 0;
    EVP_EncryptUpdate(context.get(), out.data(), &written, in.data(), static_cast<int>(in.size()));
  }

 private:
  std::unique_ptr<OSSL_PROVIDER, decltype(&OSSL_PROVIDER_unload)> legacy{
      OSSL_PROVIDER_load(nullptr, "legacy"), OSSL_PROVIDER_unload};
  std::unique_ptr<EVP_CIPHER, decltype(&EVP_CIPHER_free)> cipher{
      EVP_CIPHER_fetch(nullptr, "BF-ECB", "provider=legacy"), EVP_CIPHER_free};
  std::unique_ptr<EVP_CIPHER_CTX, decltype(&EVP_CIPHER_CTX_free)> context{EVP_CIPHER_CTX_new(),
                                                                          EVP_CIPHER_CTX_free};
};

void blowfish_libcrypto(benchmark::State& state) {
  auto packet = packet_of(state);
  packet.resize((packet.size() / 8 + 1) * 8);  // as much as encryptString enciphers
  LibcryptoBlowfish cipher;
  std::vector<unsigned char> out(packet.size());
  for ([[maybe_unused]] auto turn : state) {
    cipher.encrypt(packet, out);
    benchmark::DoNotOptimize(out.data());
  }
  report_bytes(state);
}

void blowfish_key_tavlib(benchmark::State& state) {
  for ([[maybe_unused]] auto turn : state) {
    const CBlowfish cipher(key, kKeySize);
    benchmark::DoNotOptimize(&cipher);
  }
}

void blowfish_key_libcrypto(benchmark::State& state) {
  LibcryptoBlowfish cipher;
  for ([[maybe_unused]] auto turn : state) {
    cipher.rekey();
    benchmark::DoNotOptimize(&cipher);
  }
}

BENCHMARK(md5_tavlib)->Arg(100)->Arg(512)->Arg(4096);
BENCHMARK(md5_libcrypto)->Arg(100)->Arg(512)->Arg(4096);
BENCHMARK(blowfish_tavlib)->Arg(100)->Arg(512)->Arg(4096);
BENCHMARK(blowfish_libcrypto)->Arg(100)->Arg(512)->Arg(4096);
BENCHMARK(blowfish_key_tavlib);
BENCHMARK(blowfish_key_libcrypto);

}  // namespace
