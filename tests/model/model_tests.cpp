// Random operations on the library and on a naive model of it. What the library returns, writes and
// stores must be what the model says.
//
//   model_tests [--family=map|multimap|arraymap] [--operations=N] [--seed=S] [--trace]
//
// N operations for each family, or for the one named. The same seed gives the same operations. With
// --trace each operation is printed before it is applied, in case of a crash.
#include "run.hpp"

#include <algorithm>
#include <cinttypes>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace {

constexpr std::size_t sequence_length = 2000;
// Comparing every node costs as much as some operations do.
constexpr std::size_t stride = 16;

struct Options {
    const char *family = nullptr;
    std::uint64_t operations = 100000;
    std::uint64_t seed = 1;
    bool trace = false;
};

bool parse_number(const char *text, std::uint64_t &number)
{
    char *end = nullptr;
    number = std::strtoull(text, &end, 10);
    return *text >= '0' && *text <= '9' && *end == '\0';
}

// The rest of an argument that begins with the option's name; null for any other.
const char *value_of(const char *argument, const char *option)
{
    const std::size_t length = std::strlen(option);
    return std::strncmp(argument, option, length) == 0 ? argument + length : nullptr;
}

bool parse(int count, char **arguments, Options &options)
{
    for (int i = 1; i < count; ++i) {
        const char *argument = arguments[i];
        if (const char *family = value_of(argument, "--family=")) {
            options.family = family;
        } else if (const char *operations = value_of(argument, "--operations=")) {
            if (!parse_number(operations, options.operations)) {
                return false;
            }
        } else if (const char *seed = value_of(argument, "--seed=")) {
            if (!parse_number(seed, options.seed)) {
                return false;
            }
        } else if (std::strcmp(argument, "--trace") == 0) {
            options.trace = true;
        } else {
            return false;
        }
    }
    return true;
}

bool agrees(const model::Family &family, const Options &options)
{
    std::printf("%s: %" PRIu64 " operations, --seed=%" PRIu64 "\n", family.name(),
                options.operations, options.seed);
    std::fflush(stdout);
    model::RandomChoices choices(options.seed);
    for (std::uint64_t left = options.operations; left != 0;) {
        const auto length =
            static_cast<std::size_t>(std::min<std::uint64_t>(left, sequence_length));
        const model::Sequence sequence = model::choose_sequence(family, choices, length);
        const model::Finding finding =
            model::apply_sequence(family, sequence, stride, options.trace);
        if (finding) {
            std::printf("%s differs from its model with --seed=%" PRIu64
                        ", in short after these operations:\n%s",
                        family.name(), options.seed,
                        model::described(family, model::shrunk(family, finding)).c_str());
            return false;
        }
        left -= length;
    }
    std::printf("%s: no difference\n", family.name());
    return true;
}

} // namespace

int main(int count, char **arguments)
{
    Options options;
    if (!parse(count, arguments, options)) {
        std::fputs("usage: model_tests [--family=map|multimap|arraymap] [--operations=N] "
                   "[--seed=S] [--trace]\n",
                   stderr);
        return 2;
    }
    bool any = false;
    for (const model::Family *family :
         {&model::map_family(), &model::multimap_family(), &model::arraymap_family()}) {
        if (options.family == nullptr || std::strcmp(options.family, family->name()) == 0) {
            any = true;
            if (!agrees(*family, options)) {
                return 1;
            }
        }
    }
    if (!any) {
        std::fprintf(stderr, "no family %s\n", options.family);
        return 2;
    }
    return 0;
}
