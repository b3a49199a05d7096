#include "apps/job/job_file.h"

#include "apps/job/message_room.h"
#include "apps/job/plate_file.h"

#include <algorithm>

namespace apps {
namespace {

/// As a shell takes it for one word, and bench for no option.
std::string Word(const std::string& name) {
    constexpr std::string_view kPlain = "._-/\\:";
    const bool isPlain = std::ranges::all_of(name, [&](char c) {
        return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') ||
               static_cast<unsigned char>(c) >= 0x80 || kPlain.find(c) != kPlain.npos;
    });
    const std::string word = (name.starts_with('-') ? "./" : "") + name;
    return isPlain ? word : "\"" + word + "\"";
}

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

/// Where sections of a job file begin.
struct SectionLines {
    int job = 0;
    int plate = 0;
    int image = 0;
};

/// What only the whole job shows: whether the image fits on the plate, as far as both are known, and the names into
/// messages.
std::vector<Complaint> CheckWhole(const Job& job, const SectionLines& lines) {
    std::vector<Complaint> complaints;
    const Size& plate = job.plate.size;
    const Size& image = job.image;
    const bool isKnown = std::min({plate.width, plate.length, image.width, image.length}) > 0;
    if (isKnown && (image.width > plate.width || image.length > plate.length)) {
        complaints.push_back(
            {lines.image, "an image of " + FormatSize(image) + " does not fit on a plate of " + FormatSize(plate)});
    }
    if (!FitsMessage(job)) {
        complaints.push_back({lines.job, "the names of the job and its separations " + std::string(kNamesTooLong)});
    }
    if (!FitsMessage(job.plate)) {
        complaints.push_back({lines.plate, "the names of the plate " + std::string(kNamesTooLong)});
    }
    return complaints;
}

/// @returns the faults in the order in which they show.
std::vector<Complaint> Read(std::istream& stream, Job& job) {
    Job read;
    SectionLines lines;
    const std::vector<Key> jobKeys = {
        {"name", true, [&](const Value& value) { read.name = value.Name("a job"); }},
        {"resolution", true, [&](const Value& value) { read.resolution = value.Number("dpi", kResolution); }}};
    std::vector<Key> plateKeys = PlateKeys([&]() -> Plate& { return read.plate; });
    plateKeys.push_back({"name", false, [&](const Value& value) { read.plate.name = value.Name("a plate"); }});
    const std::vector<Key> imageKeys = SizeKeys([&]() -> Size& { return read.image; }, kImageSide, kImageSide);
    const Layout layout{"job file",
                        {{"job", {1, 1}, [&](int line) { lines.job = line; }, jobKeys},
                         {"plate", {1, 1}, [&](int line) { lines.plate = line; }, plateKeys},
                         {"image", {1, 1}, [&](int line) { lines.image = line; }, imageKeys},
                         {"separation",
                          {1, kMaxSeparations},
                          [&](int) { read.separations.emplace_back(); },
                          SeparationKeys(read.separations)}},
                        [&] { return CheckWhole(read, lines); },
                        {"plate", "this is a plate file and no job file: 'bench plates' lists it"}};
    std::vector<Complaint> complaints = ReadSections(stream, layout);
    if (complaints.empty()) {
        job = std::move(read);
    }
    return complaints;
}

} // namespace

std::vector<Complaint> CheckJob(std::istream& stream, Job& job) {
    std::vector<Complaint> complaints = Read(stream, job);
    std::ranges::stable_sort(complaints, {}, &Complaint::line);
    return complaints;
}

Outcome CheckJobFile(const std::string& path, Job& job, std::vector<Complaint>& complaints) {
    std::ifstream stream;
    Outcome failure = OpenSections(path, "job file", stream);
    if (!failure) {
        complaints = CheckJob(stream, job);
    }
    return failure;
}

Outcome ReadJob(std::istream& stream, const std::string& name, Job& job) {
    return ToOutcome(Read(stream, job), name, "bench image --check " + Word(name));
}

Outcome ReadJobFile(const std::string& path, Job& job) {
    std::ifstream stream;
    Outcome failure = OpenSections(path, "job file", stream);
    return failure ? failure : ReadJob(stream, path, job);
}

} // namespace apps
