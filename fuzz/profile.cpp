// Settings files of Linux: what is listed is found, a write changes what it is to change and nothing else, and a file
// of 16-bit units comes back as it was.

#include "gaizior/platform/linux/profile/profile.h"
#include "gaizior/platform/linux/profile/edit.h"
#include "gaizior/platform/linux/profile/encoding.h"
#include "gaizior/platform/linux/profile/lines.h"

#include <algorithm>
#include <cstdlib>

namespace {

using namespace gaizior::platform;

void Expect(bool isTrue) {
    if (!isTrue) {
        std::abort();
    }
}

std::string TakeName(std::string& names) {
    const std::string name = names.substr(0, names.find('\0'));
    names.erase(0, name.size() + 1);
    return name;
}

/// What a section says is the same in both, except for one key.
void ExpectSame(const Profile& before, const Profile& after, const std::string& section, const std::string& except) {
    for (std::string names = before.Keys(section); !names.empty();) {
        const std::string key = TakeName(names);
        Expect(IsSameName(key, except) || before.Find(section, key) == after.Find(section, key));
    }
}

void Change(const std::string& text, const std::string& section, const std::string& key) {
    const Profile before(text);
    const std::string edited = EditProfile(text, section, key.c_str(), "new 'value'");
    const Profile after(edited);
    Expect(after.Find(section, key) == "new 'value'");
    ExpectSame(before, after, section, key);
    Expect(EditProfile(edited, section, key.c_str(), "new 'value'") == edited);
    const std::string removed = EditProfile(text, section, key.c_str(), nullptr);
    ExpectSame(before, Profile(removed), section, key);
    Expect(removed.size() <= text.size());
    for (std::string names = before.Sections(); !names.empty();) {
        if (const std::string other = TakeName(names); !IsSameName(other, section)) {
            ExpectSame(before, after, other, "");
            ExpectSame(before, Profile(EditProfile(text, section, nullptr, nullptr)), other, "");
        }
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string file(reinterpret_cast<const char*>(data), size);
    for (const std::string mark : {"", "\xFF\xFE", "\xFE\xFF"}) {
        const ProfileEncoding encoding = EncodingOf(mark + file);
        const std::string text = DecodeProfile(mark + file, encoding);
        Expect(EncodeProfile(text, encoding) == mark + file);
        Change(text, "s", "key");
        const Profile profile(text);
        for (std::string sections = profile.Sections(); !sections.empty();) {
            const std::string section = TakeName(sections);
            for (std::string keys = profile.Keys(section); !keys.empty();) {
                Change(text, section, TakeName(keys));
            }
        }
    }
    return 0;
}
