// Where the choices of a test come from: a seeded generator, or the bytes of a fuzzer.
#pragma once

#include <cstddef>
#include <cstdint>

namespace model {

class Choices {
  public:
    virtual ~Choices() = default;
    // Whether there is anything left to choose by.
    virtual bool more() const = 0;
    // A number from 0 to bound - 1.
    virtual std::uint32_t below(std::uint32_t bound) = 0;

    // False when there is nothing left to choose by.
    bool one_in(std::uint32_t bound)
    {
        return below(bound) == bound - 1;
    }
};

// SplitMix64: the same choices for the same seed on every target.
class RandomChoices : public Choices {
  public:
    explicit RandomChoices(std::uint64_t seed) : state_(seed)
    {
    }
    bool more() const override
    {
        return true;
    }
    std::uint32_t below(std::uint32_t bound) override
    {
        return static_cast<std::uint32_t>((next() >> 32) * bound >> 32);
    }
    std::uint64_t next()
    {
        state_ += 0x9E3779B97F4A7C15;
        std::uint64_t mixed = state_;
        mixed = (mixed ^ mixed >> 30) * 0xBF58476D1CE4E5B9;
        mixed = (mixed ^ mixed >> 27) * 0x94D049BB133111EB;
        return mixed ^ mixed >> 31;
    }

  private:
    std::uint64_t state_;
};

// One byte for a choice among up to 256, else two; 0 when they are used up.
class ByteChoices : public Choices {
  public:
    ByteChoices(const std::uint8_t *bytes, std::size_t size) : next_(bytes), end_(bytes + size)
    {
    }
    bool more() const override
    {
        return next_ != end_;
    }
    std::uint32_t below(std::uint32_t bound) override
    {
        const std::uint32_t high = bound > 256 ? byte() : 0;
        return (high << 8 | byte()) % bound;
    }

  private:
    std::uint32_t byte()
    {
        return next_ == end_ ? 0 : *next_++;
    }

    const std::uint8_t *next_;
    const std::uint8_t *end_;
};

} // namespace model
