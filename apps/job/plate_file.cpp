#include "apps/job/plate_file.h"

#include "apps/job/message_room.h"

#include <map>

namespace apps {
namespace {

Polarity ReadPolarity(const Value& value) {
    const std::optional<Polarity> polarity = ParsePolarity(value.text);
    if (!polarity) {
        value.Complain("expected 'positive' or 'negative', found " + Quoted(value.text));
    }
    return *polarity;
}

Power ReadPower(const Value& value) {
    const std::optional<Power> power = ParsePower(value.text);
    if (!power) {
        value.Complain("expected a power such as '80 %' or '120.5 uJ cm^2', found " + Quoted(value.text));
    }
    const Range range = PowerRange(power->unit);
    if (!range.Holds(power->value)) {
        value.Complain(Quoted(value.text) + " is more than " + FormatPower({power->unit, range.most}));
    }
    return *power;
}

} // namespace

std::vector<Key> SizeKeys(const std::function<Size&()>& size, Range widths, Range lengths) {
    return {{"width", true, [=](const Value& value) { size().width = value.Millimetres(widths); }},
            {"length", true, [=](const Value& value) { size().length = value.Millimetres(lengths); }}};
}

std::vector<Key> PlateKeys(const std::function<Plate&()>& plate) {
    std::vector<Key> keys = SizeKeys([plate]() -> Size& { return plate().size; }, kPlateWidth, kPlateLength);
    keys.push_back(
        {"thickness", false, [plate](const Value& value) { plate().thickness = value.Millimetres(kPlateThickness); }});
    keys.push_back({"polarity", false, [plate](const Value& value) { plate().polarity = ReadPolarity(value); }});
    keys.push_back({"power", false, [plate](const Value& value) { plate().power = ReadPower(value); }});
    keys.push_back(
        {"calibration", false, [plate](const Value& value) { plate().calibration = value.Name("a calibration"); }});
    keys.push_back(
        {"cassette", false, [plate](const Value& value) { plate().cassette = value.Number("", kCassette); }});
    return keys;
}

Outcome ReadPlates(std::istream& stream, const std::string& name, std::vector<Plate>& plates) {
    std::vector<Plate> read;
    std::map<std::string, int> lineOfName;
    const auto setName = [&](const Value& value) {
        read.back().name = value.Name("a plate");
        const auto [first, isNew] = lineOfName.emplace(read.back().name, value.line);
        if (!isNew) {
            value.Complain("the plate in line " + std::to_string(first->second) + " has the name " +
                           Quoted(value.text) + " already");
        }
    };
    std::vector<Key> keys = PlateKeys([&]() -> Plate& { return read.back(); });
    keys.insert(keys.begin(), {"name", true, setName});
    std::vector<int> lines;
    const auto beginPlate = [&](int line) {
        read.emplace_back();
        lines.push_back(line);
    };
    const auto checkNames = [&] {
        std::vector<Complaint> complaints;
        for (std::size_t i = 0; i < read.size(); ++i) {
            if (!FitsMessage(read[i])) {
                complaints.push_back({lines[i], "the names of the plate " + std::string(kNamesTooLong)});
            }
        }
        return complaints;
    };
    const auto refuseJob = [](int line) {
        throw LastComplaint{{line, "this is a job file and no plate file: 'bench image' exposes it"}};
    };
    const Layout layout{
        "plate file", {{"plate", {1, kMaxPlates}, beginPlate, keys}, {"job", {0, 1}, refuseJob, {}}}, checkNames};
    if (Outcome failure = ToOutcome(ReadSections(stream, layout), name, "")) {
        return failure;
    }
    plates = std::move(read);
    return std::nullopt;
}

Outcome ReadPlateFile(const std::string& path, std::vector<Plate>& plates) {
    std::ifstream stream;
    Outcome failure = OpenSections(path, "plate file", stream);
    return failure ? failure : ReadPlates(stream, path, plates);
}

} // namespace apps
