#ifndef TAVLIB_REGISTRY_REGISTRY_DATA_H
#define TAVLIB_REGISTRY_REGISTRY_DATA_H

#ifdef __cplusplus

#include <tavlib/export.h>

#include <cstdint>
#include <cstdio>

/// Value types with a text form of their own, and an example of each. A value of any other type is written as
/// REG_BINARY.
enum : unsigned {
  REG_SZ = 1,       ///< One text with its terminating zero byte: "text"
  REG_BINARY = 3,   ///< Bytes: $0AFF
  REG_DWORD = 4,    ///< A 32-bit number in host byte order: 42
  REG_MULTI_SZ = 7  ///< Texts, each with its zero byte, and two further zero bytes: 'one''two'
};

/// The values of one registry key, in the order in which they were first entered.
///
/// Names are compared without regard to case. Failure is 0 or null, with the run-time error set where a
/// comment says so.
///
/// Threads: one at a time for each object.
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

  /// Enters a value and takes ownership of its blocks, whatever the result. A value of the same name is
  /// replaced in its place.
  ///
  /// Returns
  ///   1          entered
  ///   0, ENOMEM  the array cannot grow; the blocks are freed
  ///   0, EFAULT  the name is null; the blocks are freed
  int EnterData(Entry& entry);

  /// Enters a value from its text form: `text` is what follows the '=' on a line of a registry file.
  ///
  /// Returns
  ///   1          entered
  ///   0, EINVAL  the first character of `text` stands for no type
  ///   0, EFAULT  a pointer is null
  ///   0, ENOMEM  the array cannot grow
  ///
  /// Throws std::bad_alloc when memory for the value runs out.
  int EnterData(const char* name, const char* text);

  // Each stores `type`, `data` (a new block) and `size` of an entry from the text form. The name stays. They
  // return 1, or 0 with EFAULT for a null text, and throw std::bad_alloc when memory runs out.

  static int ParseREG_SZ(Entry& entry, const char* text);
  static int ParseREG_MULTI_SZ(Entry& entry, const char* text);
  /// A number above 4294967295 keeps its low 32 bits.
  static int ParseREG_DWORD(Entry& entry, const char* text);
  static int ParseREG_BINARY(Entry& entry, const char* text);

  /// The value of that name, or null. The pointer stays valid until the next change.
  Entry* GetData(const char* name);

  /// The value at `index`, or null past the end. The pointer stays valid until the next change.
  Entry* EnumData(unsigned index);

  /// Removes the value of that name if its position, counted from 0, is even. A value at an odd position is
  /// not found.
  ///
  /// Returns
  ///   1          removed
  ///   0, ENOENT  not found
  ///   0, EFAULT  the name is null
  int DeleteData(const char* name);

  /// Writes every value as a line of a registry file. A text ends at its first zero byte, and so do bytes:
  /// what follows is lost.
  ///
  /// Returns 1, with errors of the stream left in the stream; or 0 with EFAULT for a null stream.
  int WriteData(std::FILE* file);

 protected:
  Entry* entries{nullptr};
  std::uint32_t count{0};
  std::uint32_t capacity{0};  ///< Grows by 10.
};

#endif

#endif
