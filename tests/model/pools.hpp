// What keys, values, numbers and addresses are chosen from. The first of each are met most often;
// the very first is the one that a failing sequence is simplified to.
#pragma once

#include <addrkit.h>

#include <cstdint>
#include <string>
#include <vector>

namespace model {

// Texts; many differ in case only, some are as long as the keys of map arrays are cut to.
const std::vector<std::string> &keys();

// Names of map arrays.
const std::vector<std::string> &names();

// Bytes: texts with their NUL and without, numerals at the limits of every type, addresses, and
// what nearly is one or the other.
const std::vector<std::string> &values();

const std::vector<std::uint64_t> &numbers();

// Some are no addresses.
const std::vector<macaddr_t> &macaddrs();
const std::vector<ipaddr_t> &ipaddrs();
const std::vector<cidr_t> &cidrs();

} // namespace model
