#ifndef TAVSIM_ENTRY_CODEC_H
#define TAVSIM_ENTRY_CODEC_H

#include "tavsim/bytes.h"
#include "tavsim/entry.h"

namespace tavsim {

/// Reads the 56-byte descriptor at `offset` and what it points to. False when a text or the data block would
/// reach past the packet. A text of n characters occupies 4n bytes, of which the first 2n are read.
bool read_entry(ByteView packet, std::size_t offset, Entry& entry);

/// Bytes of a packet that carries `entry` alone. May be more than a packet can have.
std::size_t entry_packet_size(const Entry& entry);

/// Writes the descriptor at offset 32 and the texts and data from offset 96 on. `packet` is zeroed there and
/// has `entry_packet_size` bytes, at most 4096.
void write_entry(Bytes& packet, const Entry& entry);

}  // namespace tavsim

#endif
