#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace gaizior::platform {

/// What a settings file says. Nobody changes it, so any thread may ask.
class Profile {
public:
    explicit Profile(std::string text);
    Profile(const Profile&) = delete;
    Profile& operator=(const Profile&) = delete;

    /// The value, as long as this lives.
    std::optional<std::string_view> Find(std::string_view section, std::string_view key) const;
    /// Names, each with a NUL behind it.
    std::string Sections() const;
    std::string Keys(std::string_view section) const;

private:
    struct Entry {
        std::string_view name;
        std::string_view value; // a null one in a line without "="
        std::uint32_t fingerprint;
    };
    struct Section {
        std::string_view name;
        std::size_t end; // of its entries, which begin where those of the section before it end
    };

    std::pair<std::size_t, std::size_t> EntriesOf(std::string_view section) const;

    std::string m_text;
    std::vector<Entry> m_entries;
    std::vector<Section> m_sections; // the first is what stands before all others, without a name
};

} // namespace gaizior::platform
