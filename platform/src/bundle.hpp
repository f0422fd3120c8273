// A bundle's contents, for those who carry it across a port.
#pragma once

#include <cstddef>
#include <cstdint>

#include "exports.hpp"

namespace quorvel::platform {

// The bytes that write_bundle() needs; more than a frame holds for a bundle that cannot be sent.
std::size_t bundle_wire_size(const bundle* b) noexcept;

// Writes the wire form of a bundle, NULL being an empty one, into bundle_wire_size() bytes.
void write_bundle(const bundle* b, char* to) noexcept;

enum class BundleRead { complete, malformed, out_of_memory };

// Makes a bundle of exactly `size` bytes of its wire form.
BundleRead read_bundle(const char* from, std::size_t size, bundle** b) noexcept;

}  // namespace quorvel::platform
