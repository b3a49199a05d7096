// What bench reads from job files and plate files, and what bench and imager read from each other.

#include "apps/job/job_file.h"
#include "apps/job/message.h"
#include "apps/job/plate_file.h"

#include <cstdlib>
#include <sstream>

/// Each plate of a file, and each that the engine takes, fits into a message.
static void ExpectToArrive(const apps::Plate& plate) {
    std::string load;
    apps::Message arrived;
    if (apps::CheckPlate(plate) != ZRErrors::e_General_NoError ||
        apps::Encode(apps::MakeLoadCommand(plate), load) != ZRErrors::e_General_NoError ||
        apps::Decode(load, arrived) != ZRErrors::e_General_NoError || apps::ReadLoadCommand(arrived) != plate) {
        std::abort();
    }
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string text(reinterpret_cast<const char*>(data), size);
    std::istringstream stream(text);
    apps::Job job;
    apps::ReadJob(stream, "job", job);
    stream.clear();
    stream.seekg(0);
    std::vector<apps::Plate> plates;
    apps::ReadPlates(stream, "plates", plates);
    for (const apps::Plate& plate : plates) {
        ExpectToArrive(plate);
    }
    apps::Message message;
    if (apps::Decode(text, message) != ZRErrors::e_General_NoError) {
        return 0;
    }
    const std::optional<apps::Plate> plate = apps::ReadLoadCommand(message);
    if (plate && apps::CheckPlate(*plate) == ZRErrors::e_General_NoError) {
        ExpectToArrive(*plate);
    }
    std::string packet;
    apps::Message again;
    if (apps::Encode(message, packet) == ZRErrors::e_General_NoError &&
        (apps::Decode(packet, again) != ZRErrors::e_General_NoError || again.text != message.text ||
         again.qualifier != message.qualifier || again.value != message.value)) {
        std::abort();
    }
    return 0;
}
