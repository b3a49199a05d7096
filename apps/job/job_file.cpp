#include "apps/job/job_file.h"

#include "apps/job/plate_file.h"
#include "apps/job/section_file.h"

#include <algorithm>

namespace apps {
namespace {

std::vector<Key> SeparationKeys(std::vector<Separation>& separations) {
    const auto setName = [&](const Value& value) {
        if (!IsSeparationName(value.text)) {
            value.Complain("a separation's name has 1 to " + std::to_string(kMaxSeparationName) +
                           " letters, digits, '-' and '_', found " + Quoted(value.text));
        }
        if (std::ranges::find(separations, value.text, &Separation::name) != separations.end()) {
            value.Complain("there is a separation " + Quoted(value.text) +
                           " already: write 'copies = 2' for two plates of it");
        }
        separations.back().name = value.text;
    };
    return {{"name", true, setName},
            {"copies", false, [&](const Value& value) { separations.back().copies = value.Number("", kCopies); }}};
}

} // namespace

Outcome ReadJob(std::istream& stream, const std::string& name, Job& job) {
    Job read;
    int imageLine = 0;
    const std::vector<Key> jobKeys = {
        {"name", true, [&](const Value& value) { read.name = value.Name("a job"); }},
        {"resolution", true, [&](const Value& value) { read.resolution = value.Number("dpi", kResolution); }}};
    std::vector<Key> plateKeys = PlateKeys([&]() -> Plate& { return read.plate; });
    plateKeys.push_back({"name", false, [&](const Value& value) { read.plate.name = value.Name("a plate"); }});
    const std::vector<Key> imageKeys = SizeKeys([&]() -> Size& { return read.image; }, kImageSide, kImageSide);
    const auto checkImage = [&] {
        if (read.image.width > read.plate.size.width || read.image.length > read.plate.size.length) {
            throw Complaint{imageLine, "an image of " + FormatSize(read.image) + " does not fit on a plate of " +
                                           FormatSize(read.plate.size)};
        }
    };
    const Layout layout{"job file",
                        {{"job", {1, 1}, {}, jobKeys},
                         {"plate", {1, 1}, {}, plateKeys},
                         {"image", {1, 1}, [&](int line) { imageLine = line; }, imageKeys},
                         {"separation",
                          {1, kMaxSeparations},
                          [&](int) { read.separations.emplace_back(); },
                          SeparationKeys(read.separations)}},
                        checkImage};
    if (Outcome failure = ReadSections(stream, name, layout)) {
        return failure;
    }
    job = std::move(read);
    return std::nullopt;
}

Outcome ReadJobFile(const std::string& path, Job& job) {
    std::ifstream stream;
    Outcome failure = OpenSections(path, "job file", stream);
    return failure ? failure : ReadJob(stream, path, job);
}

} // namespace apps
