// Start codes of an Annex B stream.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

// Copies a packet of the encoder to out and gives every start code exactly four bytes, so that a NAL's length can be
// written over it later. nalOffsets gets the places of the start codes in out, in rising order. Both are emptied first.
//
// A start code is one only if a byte of a NAL follows it; at the very beginning of the packet, 00 00 01 always is.
// Of a run of zeros before a start code only the last one belongs to it.
void NormalizeStartCodes(std::span<const std::uint8_t> packet, std::vector<std::uint8_t>& out,
                         std::vector<std::size_t>& nalOffsets);

// The places of 00 00 00 01 in a packet, in rising order. The search ends 6 bytes before the packet does; a packet of 6
// bytes or fewer isn't searched. Start codes of three bytes don't count.
std::vector<std::size_t> FindStartCodes(std::span<const std::uint8_t> packet);
