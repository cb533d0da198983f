#ifndef TAVLIB_TESTS_FAULTS_NETWORK_USERS_H
#define TAVLIB_TESTS_FAULTS_NETWORK_USERS_H

#include <string>
#include <vector>

namespace tavtest {

/// What a look-up is to tell: a user and the third text, both empty when nobody is at the address.
struct User {
  std::string user;
  std::string second;

  bool operator==(const User&) const = default;
};

/// Who is at which address, as the tests know it, and the same as an entries file for the server. Some
/// addresses have no entry, some an entry that says that nobody is there, some a user without a third text.
class Users {
 public:
  explicit Users(unsigned addresses);

  unsigned count() const { return static_cast<unsigned>(users_.size()); }

  /// The address number `index` of `count`, as entries hold it.
  unsigned long address(unsigned index) const;

  /// Who is to be told there.
  const User& at(unsigned index) const { return users_.at(index); }

  /// The numbers of the addresses that have an entry, in the order of the file.
  const std::vector<unsigned>& with_entry() const { return with_entry_; }

  const std::string& entries_file() const { return entries_; }

 private:
  void add(unsigned index);
  void add_entry(unsigned index, const std::string& fields);

  std::vector<User> users_;
  std::vector<unsigned> with_entry_;
  std::string entries_;
};

}  // namespace tavtest

#endif
