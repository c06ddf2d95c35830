// Feeds a fuzz target the inputs that are kept in files, each a line of hexadecimal digits. The last
// line number printed is that of the input that failed.
#include <cstdint>
#include <cstdio>
#include <fstream>
#include <string>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size);

namespace {

std::vector<std::uint8_t> bytes_of(const std::string &digits)
{
    std::vector<std::uint8_t> bytes;
    for (std::size_t i = 0; i < digits.size(); i += 2) {
        bytes.push_back(static_cast<std::uint8_t>(std::stoul(digits.substr(i, 2), nullptr, 16)));
    }
    return bytes;
}

// How many there were.
unsigned long replay(const char *path)
{
    std::ifstream file(path);
    std::string line;
    unsigned long count = 0;
    while (std::getline(file, line)) {
        std::printf("%s:%lu\n", path, ++count);
        std::fflush(stdout);
        const std::vector<std::uint8_t> bytes = bytes_of(line);
        LLVMFuzzerTestOneInput(bytes.data(), bytes.size());
    }
    return count;
}

} // namespace

int main(int argc, char **argv)
{
    if (argc < 2) {
        std::fprintf(stderr, "usage: %s FILE...\n", argv[0]);
        return 2;
    }
    for (int i = 1; i < argc; ++i) {
        const unsigned long count = replay(argv[i]);
        std::printf("%lu inputs replayed\n", count);
        if (count == 0) {
            return 1;
        }
    }
    return 0;
}
