// Which device has which address, and until when: the leases of a DHCP server in the three families
// of the C++ face.
#include <textmaps/textmaps.hpp>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iostream>
#include <sstream>
#include <string>

namespace {

namespace row = textmaps::row;
using textmaps::status;

constexpr int exit_unanswered = 1;
constexpr int exit_trouble = 2;

constexpr char usage[] =
    "usage: leases [--until ADDRESS] [FILE]\n"
    "\n"
    "Reads leases, one 'SECONDS MAC-ADDRESS IP-ADDRESS NAME' on each line, from FILE ('-' for\n"
    "standard input; without FILE from the sample, " LEASES_SAMPLE "),\n"
    "and prints the addresses of each device and the last name that it gave.\n"
    "\n"
    "  --until ADDRESS  print only when the lease of this address ends\n"
    "  --help           print this text\n"
    "\n"
    "Exit status: 0; 1 if there is no such lease; 2 for wrong usage, a FILE that cannot be read, "
    "or\n"
    "lack of memory.\n";

struct Lease {
    std::int32_t end;
    std::string device;
    std::string address;
    ipaddr_t parsed_address;
    std::string name;
};

struct Leases {
    textmaps::map ends;           // of an address: when its lease ends
    textmaps::multimap addresses; // of a device: its addresses, each once
    textmaps::arraymap names;     // of a device: the names that it gave, in their order
};

struct Options {
    const char *address = nullptr;
    std::string file = LEASES_SAMPLE;
    bool help = false;
};

int complain(const std::string &subject, const char *problem)
{
    std::cerr << subject << ": " << problem << '\n';
    return exit_trouble;
}

// The table never grows by itself: at least as many buckets as keys keep its chains short.
template <class Container>
status make_room(Container &container)
{
    const std::uint32_t size = container.record()->hashsize;
    if (static_cast<std::uint32_t>(container.key_count()) <= size) {
        return 0;
    }
    return container.set_hashsize(size * 2);
}

bool parse(const std::string &line, Lease &lease)
{
    std::istringstream words(line);
    macaddr_t parsed_device;
    return words >> lease.end >> lease.device >> lease.address >> lease.name &&
           ak_macaddr_from_str(lease.device.c_str(), &parsed_device) == 0 &&
           ak_ipaddr_from_str(lease.address.c_str(), &lease.parsed_address) == 0;
}

// A lease that is renewed ends later, and its device has the address already.
status add(Leases &leases, const Lease &lease)
{
    status done = leases.ends.set<row::time>(lease.address, lease.end);
    if (done) {
        done = leases.addresses.try_insert<row::ipaddr>(lease.device, lease.parsed_address);
    }
    if (done || done == status::refused) {
        done = leases.names.try_insert(lease.device, lease.name);
    }
    if (done) {
        done = make_room(leases.ends);
    }
    if (done) {
        done = make_room(leases.addresses);
    }
    return done ? make_room(leases.names) : done;
}

// Lines that are no leases are reported and passed over.
int read(std::istream &stream, const std::string &file, Leases &leases)
{
    std::string line;
    for (unsigned long number = 1; std::getline(stream, line); ++number) {
        if (line.empty() || line[0] == '#') {
            continue;
        }
        Lease lease;
        if (!parse(line, lease)) {
            std::cerr << file << ':' << number << ": not a lease\n";
        } else if (const status added = add(leases, lease); !added) {
            return complain(file, added.message());
        }
    }
    return stream.bad() ? complain(file, std::strerror(EIO)) : EXIT_SUCCESS;
}

int load(const std::string &file, Leases &leases)
{
    leases.addresses.set_casekeys(true);
    leases.names.set_casekeys(true);
    if (file == "-") {
        return read(std::cin, "<stdin>", leases);
    }
    std::ifstream stream(file);
    return stream ? read(stream, file, leases) : complain(file, std::strerror(errno));
}

void show(const Leases &leases)
{
    for (const auto &[device, addresses] : leases.addresses) {
        std::cout << device;
        for (const textmaps::bytes address : addresses) {
            std::cout << ' ' << address.text();
        }
        std::cout << " (" << *leases.names.get(device, leases.names.count(device) - 1) << ")\n";
    }
}

int answer(const Leases &leases, const char *address)
{
    const auto end = leases.ends.get<row::time>(address);
    if (!end) {
        complain(address, end.message());
        return exit_unanswered;
    }
    std::cout << *end << '\n';
    return EXIT_SUCCESS;
}

bool parse_options(int argc, char **argv, Options &options)
{
    bool file_given = false;
    for (int i = 1; i < argc; ++i) {
        const std::string argument = argv[i];
        if (argument == "--until" && i + 1 < argc && options.address == nullptr) {
            options.address = argv[++i];
        } else if (argument == "--help") {
            options.help = true;
        } else if ((argument.size() < 2 || argument[0] != '-') && !file_given) {
            options.file = argument;
            file_given = true;
        } else {
            std::cerr << "leases: not understood: " << argument << '\n' << usage;
            return false;
        }
    }
    return true;
}

int run(const Options &options)
{
    Leases leases;
    if (!leases.ends || !leases.addresses || !leases.names) {
        return complain("leases", status(ENOMEM).message());
    }
    const int loaded = load(options.file, leases);
    if (loaded != EXIT_SUCCESS) {
        return loaded;
    }
    if (options.address != nullptr) {
        return answer(leases, options.address);
    }
    show(leases);
    return EXIT_SUCCESS;
}

} // namespace

int main(int argc, char **argv)
{
    Options options;
    int exit_status = exit_trouble;
    if (parse_options(argc, argv, options)) {
        if (options.help) {
            std::cout << usage;
            exit_status = EXIT_SUCCESS;
        } else {
            exit_status = run(options);
        }
    }
    if (!std::cout.flush()) {
        exit_status = complain("standard output", std::strerror(EIO));
    }
    return exit_status;
}
