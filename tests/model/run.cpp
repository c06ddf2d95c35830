#include "run.hpp"

#include <algorithm>
#include <cstdio>

namespace model {

namespace {

// Containers that are not as they should be are left alone: destroying them might crash. Here they
// are no leak to a leak checker.
void abandon(std::unique_ptr<World> world)
{
    static auto *abandoned = new std::vector<std::unique_ptr<World>>;
    abandoned->push_back(std::move(world));
}

Sequence without(const Sequence &sequence, std::size_t begin, std::size_t count)
{
    Sequence rest = sequence;
    const auto first = rest.begin() + static_cast<std::ptrdiff_t>(begin);
    const auto last = first + static_cast<std::ptrdiff_t>(std::min(count, sequence.size() - begin));
    rest.erase(first, last);
    return rest;
}

// Whether the sequence shows a difference too, and is to be gone on with.
bool still_differs(const Family &family, const Sequence &sequence, Finding &finding)
{
    Finding candidate = apply_sequence(family, sequence, 1);
    if (!candidate) {
        return false;
    }
    finding = std::move(candidate);
    return true;
}

// Leaves out chunks, from the largest to single operations, as long as any can be.
void leave_out(const Family &family, Finding &finding)
{
    for (std::size_t chunk = finding.sequence.size(); chunk >= 1; chunk /= 2) {
        bool left_out = true;
        while (left_out) {
            left_out = false;
            for (std::size_t begin = 0; begin < finding.sequence.size();) {
                if (still_differs(family, without(finding.sequence, begin, chunk), finding)) {
                    left_out = true;
                } else {
                    begin += chunk;
                }
            }
        }
    }
}

bool simplify(const Family &family, Finding &finding)
{
    bool simplified = false;
    for (std::size_t i = 0; i < finding.sequence.size(); ++i) {
        for (const Operation &simpler : family.simpler(finding.sequence[i])) {
            Sequence candidate = finding.sequence;
            candidate[i] = simpler;
            if (still_differs(family, candidate, finding)) {
                simplified = true;
                break;
            }
        }
    }
    return simplified;
}

// The same for a key that several operations name.
bool simplify_keys(const Family &family, Finding &finding)
{
    bool simplified = false;
    for (std::size_t i = 0; i < finding.sequence.size(); ++i) {
        const Argument key = finding.sequence[i].key;
        Sequence candidate = finding.sequence;
        for (Operation &operation : candidate) {
            if (operation.key == key) {
                operation.key = {};
            }
        }
        if (!(key == Argument{}) && still_differs(family, candidate, finding)) {
            simplified = true;
        }
    }
    return simplified;
}

// Lets the first operation be on container 0.
bool simplify_containers(const Family &family, Finding &finding)
{
    Sequence candidate = finding.sequence;
    const std::uint8_t first = candidate.empty() ? 0 : candidate.front().containers[0];
    for (Operation &operation : candidate) {
        for (std::uint8_t &container : operation.containers) {
            container = container == first ? 0 : container == 0 ? first : container;
        }
    }
    return first != 0 && still_differs(family, candidate, finding);
}

// What one operation sets may call for as many others: a limit, for instance.
bool simplify_and_leave_out(const Family &family, Finding &finding)
{
    constexpr std::size_t affordable = 50;
    if (finding.sequence.size() > affordable) {
        return false;
    }
    for (std::size_t i = 0; i < finding.sequence.size(); ++i) {
        for (const Operation &simpler : family.simpler(finding.sequence[i])) {
            for (std::size_t left_out = 0; left_out < finding.sequence.size(); ++left_out) {
                Sequence candidate = finding.sequence;
                candidate[i] = simpler;
                if (still_differs(family, without(candidate, left_out, 1), finding)) {
                    return true;
                }
            }
        }
    }
    return false;
}

} // namespace

Sequence choose_sequence(const Family &family, Choices &choices, std::size_t length)
{
    Sequence sequence;
    while (sequence.size() < length && choices.more()) {
        sequence.push_back(family.choose(choices));
    }
    return sequence;
}

Finding apply_sequence(const Family &family, const Sequence &sequence, std::size_t stride,
                       bool trace)
{
    auto world = family.make_world();
    Sequence applied;
    for (const Operation &operation : sequence) {
        if (!world->difference().empty()) {
            break;
        }
        applied.push_back(operation);
        if (trace) {
            std::puts(family.describe(operation).c_str());
            std::fflush(stdout);
        }
        family.kind_of(operation).apply(*world, operation);
        if (applied.size() % stride == 0 || applied.size() == sequence.size()) {
            world->compare_everything();
        } else {
            world->compare_records();
        }
    }
    if (world->difference().empty()) {
        return {};
    }
    Finding finding{std::move(applied), world->difference()};
    abandon(std::move(world));
    return finding;
}

Finding shrunk(const Family &family, const Finding &finding)
{
    Finding smallest = finding;
    do {
        leave_out(family, smallest);
    } while (simplify(family, smallest) || simplify_keys(family, smallest) ||
             simplify_containers(family, smallest) || simplify_and_leave_out(family, smallest));
    return smallest;
}

std::string described(const Family &family, const Finding &finding)
{
    std::string text;
    for (const Operation &operation : finding.sequence) {
        text += "  " + family.describe(operation) + '\n';
    }
    return text + finding.difference + '\n';
}

} // namespace model
