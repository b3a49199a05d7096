#include "benchmarks/spdlog_coarse.h"

#include <memory>

#include <spdlog/spdlog.h>

namespace benchmarks {
namespace {

class PayloadSink : public spdlog::sinks::sink {
public:
    void log(const spdlog::details::log_msg& message) override {
        Keep(*message.payload.data());
    }
    void flush() override {}
    void set_pattern(const std::string&) override {}
    void set_formatter(std::unique_ptr<spdlog::formatter>) override {}
};

} // namespace

Batch WriteWithCoarseSpdlog(int& plate, int& step) {
    return Repeat([&, logger = std::make_shared<spdlog::logger>("coarse", std::make_shared<PayloadSink>())] {
        Keep(plate);
        logger->warn(kLine, plate, step);
    });
}

} // namespace benchmarks
