#include "apps/imager/command_handler.h"

#include "apps/support/failure.h"

#include <utility>

namespace apps {
namespace {

/// What stands in the way of a command: its words, the state of the engine, or what the code says.
std::string ReasonOf(ZRErrors::ZRErrorT code, Engine::State state) {
    if (code == kInvalidParameter) {
        return "a word or a name is missing, damaged or out of range";
    }
    const bool isForState = code == kDeviceBusy || code == kCommandRejected || code == ZRErrors::e_Phs_NoPlate;
    return isForState ? "the engine is " + std::string(StateName(state)) : ErrorText(code);
}

} // namespace

Outgoing CommandHandler::Greeting(std::uint16_t clientId) const {
    return MakeReply(clientId, kStatus, ZRErrors::e_General_NoError);
}

std::vector<Outgoing> CommandHandler::Handle(std::string_view packet) {
    Message command;
    if (Decode(packet, command) != ZRErrors::e_General_NoError) {
        return {MakeRefusal(AddresseeOf(NamedSender(packet)), 0, kInvalidData, "this is no whole message")};
    }
    const std::uint16_t sender = AddresseeOf(command.id);
    if (command.type == kReply || command.type == kProgress) {
        return {};
    }
    if (command.type != kCommand || command.code < kStatus || command.code > kStop) {
        return {MakeRefusal(sender, command.code, kUnimplemented, "there is no such command")};
    }
    if (command.code == kStatus) {
        return {MakeReply(sender, kStatus, ZRErrors::e_General_NoError)};
    }
    if (command.code == kStop) {
        m_bStopped = true;
        std::vector<Outgoing> replies = Halt();
        replies.push_back(MakeReply(sender, kStop, ZRErrors::e_General_NoError));
        return replies;
    }
    const auto state = m_engine.GetState();
    if (const auto code = Begin(command); code != ZRErrors::e_General_NoError) {
        return {MakeRefusal(sender, command.code, code, ReasonOf(code, state))};
    }
    m_asked = Asked{sender, command.code};
    return {};
}

ZRErrors::ZRErrorT CommandHandler::Begin(const Message& command) {
    if (command.code == kLoad) {
        const std::optional<Plate> plate = ReadLoadCommand(command);
        return plate ? m_engine.Load(*plate) : kInvalidParameter;
    }
    if (command.code == kExpose) {
        const std::optional<Job> job = ReadExposeCommand(command);
        return job ? m_engine.Expose(*job) : kInvalidParameter;
    }
    return m_engine.Unload();
}

std::vector<Outgoing> CommandHandler::Advance(double seconds) {
    return m_engine.Advance(seconds) ? EndOperation(ZRErrors::e_General_NoError) : std::vector<Outgoing>();
}

std::optional<Outgoing> CommandHandler::Progress() const {
    if (!m_asked) {
        return std::nullopt;
    }
    const Engine::Progress progress = m_engine.GetProgress();
    Message message{kProgress, m_asked->code, m_nOwnId, progress.permille, Describe(), {}};
    if (progress.plates > 0) {
        message.text += " separation=" + progress.separation + " plate=" + std::to_string(progress.plate) +
                        " plates=" + std::to_string(progress.plates);
    }
    return Outgoing{m_asked->sender, std::move(message)};
}

std::vector<Outgoing> CommandHandler::Halt() {
    if (!m_engine.IsBusy()) {
        return {};
    }
    m_engine.Halt();
    return EndOperation(kJobStopped);
}

std::vector<Outgoing> CommandHandler::EndOperation(ZRErrors::ZRErrorT code) {
    const std::optional<Asked> asked = std::exchange(m_asked, std::nullopt);
    if (!asked) {
        return {};
    }
    Outgoing reply = MakeReply(asked->sender, asked->code, code);
    if (code == ZRErrors::e_General_NoError) {
        constexpr double kHundredthsPerSecond = 100;
        const int hundredths = static_cast<int>(m_engine.Duration() * kHundredthsPerSecond);
        reply.message.text += " seconds=" + FormatHundredths(hundredths);
    }
    return {std::move(reply)};
}

Outgoing CommandHandler::MakeReply(std::uint16_t destination, std::int32_t command, ZRErrors::ZRErrorT code) const {
    Message reply{kReply, command, m_nOwnId, static_cast<std::int32_t>(code), Describe(), {}};
    if (code == ZRErrors::e_General_NoError && (command == kStatus || command == kLoad)) {
        AddPlateDetails(reply, m_engine.GetPlate());
    }
    return {destination, std::move(reply)};
}

Outgoing CommandHandler::MakeRefusal(std::uint16_t destination, std::int32_t command, ZRErrors::ZRErrorT code,
                                     std::string reason) const {
    Outgoing refusal = MakeReply(destination, command, code);
    refusal.message.qualifier = std::move(reason);
    return refusal;
}

std::string CommandHandler::Describe() const {
    std::string text = std::string("state=") + StateName(m_engine.GetState());
    if (const Size& size = m_engine.GetPlate().size; size.width > 0) {
        text += " width=" + FormatHundredths(size.width) + " length=" + FormatHundredths(size.length);
    }
    return text;
}

} // namespace apps
