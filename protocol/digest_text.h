#ifndef TAVLIB_DIGEST_TEXT_H
#define TAVLIB_DIGEST_TEXT_H

namespace tavlib {

/// The two digits that the last DigestToHex left, terminated; empty before the first. Hosts cannot read them.
const char* digest_text();

}  // namespace tavlib

#endif
