#include "keys.hpp"

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <deque>
#include <fstream>
#include <functional>
#include <sstream>
#include <unordered_set>

namespace bench {

namespace {

constexpr std::size_t shortest = 4;
constexpr std::size_t longest = 64;

std::ifstream open(const char *path)
{
    std::ifstream file(path);
    if (!file) {
        std::fprintf(stderr, "%s is missing: bench/run installs the packages that hold the keys\n",
                     path);
        std::exit(1);
    }
    return file;
}

using names = std::vector<std::string>;

names words()
{
    names list;
    auto file = open("/usr/share/dict/american-english");
    for (std::string line; std::getline(file, line);) {
        list.push_back(line);
    }
    shuffle(list);
    return list;
}

// "0050C2A40" is the block 00:50:c2:a4:0.
std::string block_name(const std::string &digits)
{
    std::string name;
    for (std::size_t i = 0; i < digits.size(); ++i) {
        if (i != 0 && i % 2 == 0) {
            name += ':';
        }
        const char digit = digits[i];
        name += digit >= 'A' && digit <= 'F' ? static_cast<char>(digit - 'A' + 'a') : digit;
    }
    return name;
}

// Lines of: registry, digits, holder, address. The holder may stand in quotes.
names address_blocks()
{
    names list;
    for (const char *path : {"/usr/share/ieee-data/oui.csv", "/usr/share/ieee-data/mam.csv",
                             "/usr/share/ieee-data/oui36.csv", "/usr/share/ieee-data/iab.csv"}) {
        auto file = open(path);
        std::string line;
        std::getline(file, line);
        while (std::getline(file, line)) {
            const std::size_t digits = line.find(',') + 1;
            const std::size_t holder = line.find(',', digits) + 1;
            if (digits == 0 || holder == 0) {
                continue;
            }
            list.push_back(block_name(line.substr(digits, holder - 1 - digits)));
            const bool quoted = line[holder] == '"';
            const std::size_t begin = holder + (quoted ? 1 : 0);
            list.push_back(line.substr(begin, line.find(quoted ? '"' : ',', begin) - begin));
        }
    }
    shuffle(list);
    return list;
}

// "http 80/tcp" is the service http/tcp.
names services()
{
    names list;
    auto file = open("/etc/services");
    for (std::string line; std::getline(file, line);) {
        std::istringstream fields(line);
        std::string name;
        std::string port;
        if (fields >> name >> port && name[0] != '#') {
            list.push_back(name + port.substr(std::min(port.find('/'), port.size())));
        }
    }
    shuffle(list);
    return list;
}

std::string setting(std::size_t number)
{
    static constexpr std::array groups = {
        "interface.eth", "wifi.radio", "firewall.rule.", "dhcp.host.",
        "bridge.port",   "route.",     "dns.record.",    "vpn.peer.",
        "qos.class.",    "snmp.trap.", "user.account.",  "system.log.target.",
    };
    static constexpr std::array fields = {
        "enabled", "mtu",      "ipaddr",   "netmask",     "gateway",         "macaddr",
        "metric",  "name",     "vlan.id",  "description", "encryption.mode", "max_clients",
        "timeout", "rx_bytes", "tx_bytes", "leasetime",
    };
    const char *field = fields[number % fields.size()];
    number /= fields.size();
    const char *group = groups[number % groups.size()];
    return group + std::to_string(number / groups.size()) + '.' + field;
}

// A number, an IPv4 address, a MAC address or a name.
std::string value(std::size_t number)
{
    const auto bits = static_cast<unsigned>(number * 2654435761U);
    char text[32];
    switch (number % 4) {
    case 0: return std::to_string(bits >> (bits % 32));
    case 1:
        std::snprintf(text, sizeof text, "10.%u.%u.%u", bits >> 24, bits >> 16 & 255,
                      bits >> 8 & 255);
        return text;
    case 2:
        std::snprintf(text, sizeof text, "02:00:%02x:%02x:%02x:%02x", bits >> 24, bits >> 16 & 255,
                      bits >> 8 & 255, bits & 255);
        return text;
    default: return "port " + std::to_string(bits % 48) + " of the switch in room 214";
    }
}

class endless_list {
  public:
    std::span<const item> first(std::size_t count)
    {
        while (items_.size() < count) {
            add_one_of_each();
        }
        return std::span(items_).first(count);
    }

  private:
    void add_one_of_each()
    {
        for (const names &source : sources_) {
            if (round_ < source.size()) {
                add(source[round_]);
            }
        }
        add(setting(round_));
        ++round_;
    }

    void add(const std::string &key)
    {
        if (key.size() < shortest || key.size() > longest || !keys_.insert(key).second) {
            return;
        }
        const char *key_text = texts_.emplace_back(key).c_str();
        const std::string &text = texts_.emplace_back(value(items_.size()));
        items_.push_back({key_text, text.c_str(), static_cast<std::uint32_t>(text.size())});
    }

    std::array<names, 3> sources_ = {words(), address_blocks(), services()};
    std::size_t round_ = 0;
    std::deque<std::string> texts_;
    std::unordered_set<std::string> keys_;
    std::vector<item> items_;
};

} // namespace

std::span<const item> items(std::size_t count)
{
    static endless_list list;
    return list.first(count);
}

namespace {

std::vector<const char *> shuffled(std::span<const item> of, std::size_t most)
{
    std::vector<const char *> keys;
    for (const item &one : of) {
        keys.push_back(one.key);
    }
    shuffle(keys);
    keys.resize(std::min(keys.size(), most));
    return keys;
}

} // namespace

key_list::key_list(const std::vector<const char *> &keys)
{
    std::vector<std::size_t> starts;
    for (const char *key : keys) {
        starts.push_back(text_.size());
        text_.append(key, std::char_traits<char>::length(key) + 1);
    }
    for (const std::size_t start : starts) {
        keys_.push_back(text_.data() + start);
    }
}

key_list::key_list(std::span<const item> of, std::size_t most) : key_list(shuffled(of, most))
{
}

key_list present_keys(std::size_t count)
{
    return key_list(items(count));
}

key_list absent_keys(std::size_t count)
{
    return key_list(items(2 * count).subspan(count));
}

key_list in_many_orders(const key_list &keys)
{
    std::vector<const char *> order(keys.begin(), keys.end());
    std::vector<const char *> all;
    for (std::uint32_t seed = 0; all.size() < keys_of_many_orders; ++seed) {
        shuffle(order, seed);
        all.insert(all.end(), order.begin(), order.end());
    }
    return key_list(all);
}

} // namespace bench
