#include "tavsim/trace.h"

#include <arpa/inet.h>
#include <endian.h>

#include <array>
#include <ostream>

namespace tavsim {
namespace {

std::string hex_number(std::uint32_t value) {
  std::array<std::uint8_t, 4> bytes{};
  store_be32(bytes, 0, value);
  const std::string digits = to_hex(bytes);
  const std::size_t first = digits.find_first_not_of('0');
  return "0x" + (first == std::string::npos ? "0" : digits.substr(first));
}

// Anything but plain ASCII is escaped, so that a line stays one line.
std::string quoted(const std::u16string& text) {
  std::string result = "\"";
  for (const char16_t unit : text) {
    if (unit == u'"' || unit == u'\\') result += '\\';
    if (unit >= 0x20 && unit < 0x7f) {
      result += static_cast<char>(unit);
      continue;
    }
    const std::array<std::uint8_t, 2> bytes{static_cast<std::uint8_t>(unit >> 8),
                                            static_cast<std::uint8_t>(unit)};
    result += "\\u" + to_hex(bytes);
  }
  return result + '"';
}

struct NamedText {
  const char* name;
  std::u16string Entry::*text;
};
constexpr NamedText texts[] = {
    {"user", &Entry::user}, {"string2", &Entry::string2}, {"string3", &Entry::string3}};

struct NamedWord {
  const char* name;
  std::uint32_t Entry::*word;
};
constexpr NamedWord words[] = {
    {"word7", &Entry::word7},   {"flag8", &Entry::flag8},   {"word9", &Entry::word9},
    {"word10", &Entry::word10}, {"word11", &Entry::word11}, {"word12", &Entry::word12},
    {"word13", &Entry::word13}, {"word14", &Entry::word14}, {"tag", &Entry::tag}};

std::string operation_name(std::uint8_t code) {
  static constexpr const char* names[] = {"version", "add", "query", "listen", "stop-listening"};
  if (code >= operation_version && code <= operation_stop_listening) return names[code - operation_version];
  return "code-" + std::to_string(code);
}

std::string describe_arguments(const Request& request) {
  switch (request.code) {
    case operation_add:
      return " " + describe(request.entry);
    case operation_query:
      return " a1=" + hex_number(request.arguments[0]) + " a2=" + hex_number(request.arguments[1]) +
             " a3=" + hex_number(request.arguments[2]) + " " + describe(request.entry);
    case operation_listen:
      return " port=" + std::to_string(request.port);
    default:
      return "";
  }
}

std::string text_of(in_addr address) {
  char text[INET_ADDRSTRLEN] = "";
  inet_ntop(AF_INET, &address, text, sizeof text);
  return text;
}

}  // namespace

std::string dotted_quad(std::uint32_t address) {
  return text_of({htole32(address)});
}

std::string describe(const sockaddr_in& peer) {
  return text_of(peer.sin_addr) + ":" + std::to_string(ntohs(peer.sin_port));
}

std::string describe(const Entry& entry) {
  std::string result = "address=" + dotted_quad(entry.address);
  for (const NamedText& text : texts) {
    if (!(entry.*text.text).empty()) result += std::string(" ") + text.name + "=" + quoted(entry.*text.text);
  }
  for (const NamedWord& word : words) {
    if (entry.*word.word != 0) result += std::string(" ") + word.name + "=" + hex_number(entry.*word.word);
  }
  if (!entry.data.empty()) result += " data=" + to_hex(entry.data);
  return result;
}

std::string describe(const Request& request) {
  return operation_name(request.code) + " id=" + std::to_string(request.id) +
         " length=" + std::to_string(request.length) + describe_arguments(request);
}

std::string describe_reply(ByteView datagram) {
  std::string result = std::to_string(datagram.size()) + " bytes";
  if (datagram.size() > code_offset) result += " code=" + hex_number(datagram[code_offset]);
  if (datagram.size() >= digest_offset) result += " id=" + std::to_string(load_be32(datagram, id_offset));
  return result;
}

void Trace::line(std::string_view text) const {
  if (lines_) output_ << text << '\n' << std::flush;
}

void Trace::raw(const sockaddr_in& from, ByteView datagram) const {
  if (hex_) line("datagram from " + describe(from) + ": " + to_hex(datagram));
}

}  // namespace tavsim
