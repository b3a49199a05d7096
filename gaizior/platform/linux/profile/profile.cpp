#include "gaizior/platform/linux/profile/profile.h"

#include "gaizior/platform/linux/profile/lines.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace gaizior::platform {
namespace {

/// The end of a name, in which names mostly differ, so that few are compared; the same in upper and lower case.
std::uint32_t Fingerprint(std::string_view name) {
    std::uint32_t end = 0;
    if (name.size() >= sizeof(end)) {
        std::memcpy(&end, name.data() + name.size() - sizeof(end), sizeof(end));
    } else {
        std::memcpy(&end, name.data(), name.size());
    }
    return end | 0x20202020;
}

} // namespace

Profile::Profile(std::string text) : m_text(std::move(text)), m_sections(1) {
    constexpr std::size_t kUsualLine = 16; // bytes
    m_entries.reserve(m_text.size() / kUsualLine);
    ProfileLines lines(m_text);
    for (ProfileLine line; lines.Next(line);) {
        if (line.isSection) {
            m_sections.back().end = m_entries.size();
            m_sections.push_back({line.name, 0});
        } else if (line.hasValue) {
            m_entries.push_back({line.name, Unquoted(line.value), Fingerprint(line.name)});
        } else if (!line.name.empty() && !line.IsComment()) {
            m_entries.push_back({line.name, {}, Fingerprint(line.name)}); // hides one behind it
        }
    }
    m_sections.back().end = m_entries.size();
}

std::pair<std::size_t, std::size_t> Profile::EntriesOf(std::string_view section) const {
    std::size_t begin = 0;
    for (const Section& it : m_sections) {
        if (IsSameName(it.name, section)) {
            return {begin, it.end};
        }
        begin = it.end;
    }
    return {};
}

std::optional<std::string_view> Profile::Find(std::string_view section, std::string_view key) const {
    const std::uint32_t fingerprint = Fingerprint(key);
    const auto [begin, end] = EntriesOf(section);
    for (std::size_t i = begin; i < end; ++i) {
        if (m_entries[i].fingerprint == fingerprint && IsSameName(m_entries[i].name, key)) {
            const std::string_view value = m_entries[i].value;
            return value.data() ? std::optional(value) : std::nullopt;
        }
    }
    return std::nullopt;
}

std::string Profile::Sections() const {
    std::string names;
    for (const Section& section : m_sections) {
        if (!section.name.empty()) {
            names.append(section.name) += '\0';
        }
    }
    return names;
}

std::string Profile::Keys(std::string_view section) const {
    std::string names;
    const auto [begin, end] = EntriesOf(section);
    for (std::size_t i = begin; i < end; ++i) {
        const Entry& entry = m_entries[i];
        if (entry.value.data() && !entry.name.empty() && !entry.name.starts_with(';')) {
            names.append(entry.name) += '\0';
        }
    }
    return names;
}

} // namespace gaizior::platform
