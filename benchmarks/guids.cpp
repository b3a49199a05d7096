#include "benchmarks/compare.h"
#include "benchmarks/subjects.h"
#include "gaizior/values/guid.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <ostream>
#include <random>
#include <streambuf>
#include <vector>

#include <boost/uuid/string_generator.hpp>
#include <boost/uuid/uuid.hpp>
#include <uuid/uuid.h>

namespace benchmarks {
namespace {

using Text = std::array<char, UUID_STR_LEN>;

/// The same GUID for each side.
struct Sample {
    GuidC guid;
    uuid_t bytes;
    Text text;
};

/// Identifiers in an order that no memory can foresee, again and again.
class Samples {
public:
    Samples() : m_samples(1 << 10) {
        std::mt19937 random(1);
        for (Sample& sample : m_samples) {
            std::ranges::generate(sample.bytes, random);
            ::uuid_unparse_lower(sample.bytes, sample.text.data());
            sample.guid.FromString(sample.text.data());
        }
    }
    const Sample& Next() {
        m_next = m_next + 1 == m_samples.size() ? 0 : m_next + 1;
        return m_samples[m_next];
    }

private:
    std::vector<Sample> m_samples;
    std::size_t m_next = 0;
};

/// Memory of the caller's, written from its beginning each time.
class Memory : public std::streambuf {
public:
    void Rewind() {
        setp(m_text.data(), m_text.data() + m_text.size());
    }
    Text& Characters() {
        return m_text;
    }

private:
    Text m_text;
};

void ToText(Samples& samples) {
    Memory memory;
    std::ostream stream(&memory);
    Text text;
    Compare("GUID to text, by a stream into memory", Repeat([&] {
                memory.Rewind();
                samples.Next().guid.ToString(stream, false);
                Keep(memory.Characters());
            }),
            {{"libuuid, uuid_unparse_lower into memory", Repeat([&] {
                  ::uuid_unparse_lower(samples.Next().bytes, text.data());
                  Keep(text);
              }),
              1.0},
             {"the same, and by a stream into memory", Repeat([&] {
                  memory.Rewind();
                  ::uuid_unparse_lower(samples.Next().bytes, text.data());
                  stream << text.data();
                  Keep(memory.Characters());
              }),
              0}});
}

void FromText(Samples& samples) {
    GuidC guid;
    uuid_t bytes;
    const boost::uuids::string_generator generate;
    Compare("GUID from text", Repeat([&] {
                guid.FromString(samples.Next().text.data());
                Keep(guid);
            }),
            {{"Boost.UUID, string_generator", Repeat([&] {
                  boost::uuids::uuid uuid = generate(samples.Next().text.data());
                  Keep(uuid);
              }),
              0.5},
             {"libuuid, uuid_parse", Repeat([&] {
                  ::uuid_parse(samples.Next().text.data(), bytes);
                  Keep(bytes);
              }),
              0}});
}

void Create() {
    GuidC guid;
    uuid_t bytes;
    Compare("new GUID", Repeat([&] {
                guid.CreateGUID();
                Keep(guid);
            }),
            {{"libuuid, uuid_generate_random", Repeat([&] {
                  ::uuid_generate_random(bytes);
                  Keep(bytes);
              }),
              0}});
}

} // namespace

void Guids() {
    Samples samples;
    ToText(samples);
    FromText(samples);
    Create();
}

} // namespace benchmarks
