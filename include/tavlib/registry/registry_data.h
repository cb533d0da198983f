#ifndef TAVLIB_REGISTRY_REGISTRY_DATA_H
#define TAVLIB_REGISTRY_REGISTRY_DATA_H

#ifdef __cplusplus

#include <tavlib/export.h>

#include <cstdint>
#include <cstdio>

/// Value types with a text form of their own. A value of any other type is written as REG_BINARY.
enum : unsigned {
  REG_SZ = 1,       ///< One text with its terminating zero byte: "text"
  REG_BINARY = 3,   ///< Bytes: $0AFF
  REG_DWORD = 4,    ///< A 32-bit number in host byte order: 42
  REG_MULTI_SZ = 7  ///< Texts, each with its zero byte, and two further zero bytes: 'one''two'
};

/// The values of one registry key, in the order in which they were first entered. Names compare without
/// regard to case. Failure is 0 or null, with the run-time error set where told. Not for use by several
/// threads at once.
class TAVLIB_API ARegistryData {
 public:
  /// One value. Its two blocks come from malloc and belong to the ARegistryData that holds it.
  struct Entry {
    char* name{nullptr};
    std::uint32_t type{0};
    unsigned char* data{nullptr};
    std::uint32_t size{0};  ///< Bytes at `data`.
  };

  ARegistryData() = default;
  ~ARegistryData();

  ARegistryData(const ARegistryData&) = delete;
  ARegistryData& operator=(const ARegistryData&) = delete;

  /// Takes the entry and the ownership of its blocks, in every case. A value of the same name is replaced in
  /// its place. 1, or 0 with error 12 when the array cannot grow, or 14 for a null name (the blocks are then
  /// released).
  int EnterData(Entry& entry);

  /// Enters a value from its text form: `text` is what follows the '=' on a line of a registry file. 1, or 0
  /// with error 22 when its first character names no type, 14 for a null pointer, or as above. Throws
  /// std::bad_alloc when memory for the value runs out.
  int EnterData(const char* name, const char* text);

  // Each fills `type`, `data` (a new block) and `size` of an entry from the text form; the name is left
  // alone. 1, or 0 with error 14 for a null text. They throw std::bad_alloc when memory runs out.

  static int ParseREG_SZ(Entry& entry, const char* text);
  static int ParseREG_MULTI_SZ(Entry& entry, const char* text);
  /// A number above 4294967295 keeps its low 32 bits.
  static int ParseREG_DWORD(Entry& entry, const char* text);
  static int ParseREG_BINARY(Entry& entry, const char* text);

  /// The value of that name, or null. It stays valid until the next change.
  Entry* GetData(const char* name);

  /// The value at `index`, or null past the end. It stays valid until the next change.
  Entry* EnumData(unsigned index);

  /// Removes the value of that name if it stands at an even position; a value at an odd position is not
  /// found. 1, or 0 with error 2, or 14 for a null name.
  int DeleteData(const char* name);

  /// Writes every value as a line of a registry file. A text ends at its first zero byte, and so do bytes:
  /// what follows is lost. 1, errors of the stream being left in the stream; 0 with error 14 only for a null
  /// stream.
  int WriteData(std::FILE* file);

 protected:
  Entry* entries{nullptr};
  std::uint32_t count{0};
  std::uint32_t capacity{0};  ///< Grows by 10.
};

#endif

#endif
