#ifndef TAVLIB_TESTS_PROTOCOL_PACKET_IMAGE_H
#define TAVLIB_TESTS_PROTOCOL_PACKET_IMAGE_H

#include <gtest/gtest.h>
#include <tavlib/protocol/packet.h>

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <initializer_list>
#include <memory>
#include <string_view>
#include <vector>

namespace tavtest {

/// The 4096 bytes of a packet, laid by hand. Each call sets bytes at an offset and may be chained; one that
/// would write behind the packet is a mistake of the test and throws.
class PacketImage {
 public:
  explicit PacketImage(unsigned char fill = 0) : bytes_(4096, fill) {}

  PacketImage& byte(std::size_t at, unsigned value) {
    bytes_.at(at) = static_cast<unsigned char>(value);
    return *this;
  }
  PacketImage& be16(std::size_t at, unsigned value) { return byte(at, value >> 8).byte(at + 1, value); }
  PacketImage& be32(std::size_t at, std::uint32_t value) {
    return be16(at, value >> 16).be16(at + 2, value & 0xffff);
  }
  PacketImage& bytes(std::size_t at, std::initializer_list<unsigned> values) {
    for (unsigned value : values)
      byte(at++, value);
    return *this;
  }
  PacketImage& zeros(std::size_t at, std::size_t count) {
    for (std::size_t i = 0; i < count; ++i)
      byte(at + i, 0);
    return *this;
  }
  /// Two bytes per character, low byte first: each character of `text`, then a zero.
  PacketImage& text(std::size_t at, std::string_view text) {
    for (std::size_t i = 0; i < text.size(); ++i)
      bytes(at + 2 * i, {static_cast<unsigned char>(text[i]), 0});
    return *this;
  }

  const std::vector<unsigned char>& bytes() const { return bytes_; }

  /// A heap block of exactly a packet's size, so that a sanitizer sees every access past it.
  std::unique_ptr<_TAVPACKET> packet() const {
    auto packet = std::make_unique<_TAVPACKET>();
    std::memcpy(packet.get(), bytes_.data(), sizeof(_TAVPACKET));
    return packet;
  }

 private:
  std::vector<unsigned char> bytes_;
};

/// Passes when the packet's 4096 bytes are those of the image; names the first that differs.
inline ::testing::AssertionResult holds(const _TAVPACKET& packet, const PacketImage& expected) {
  const auto* actual = reinterpret_cast<const unsigned char*>(&packet);
  for (std::size_t i = 0; i < sizeof(_TAVPACKET); ++i) {
    if (actual[i] != expected.bytes()[i]) {
      return ::testing::AssertionFailure() << "byte " << i << " is " << unsigned{actual[i]} << ", expected "
                                           << unsigned{expected.bytes()[i]};
    }
  }
  return ::testing::AssertionSuccess();
}

}  // namespace tavtest

#endif
