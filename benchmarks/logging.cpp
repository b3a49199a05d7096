#include "benchmarks/compare.h"
#include "benchmarks/spdlog_coarse.h"
#include "benchmarks/subjects.h"
#include "gaizior/logging/log_stream.h"

#include <atomic>
#include <memory>

#include <spdlog/sinks/base_sink.h>
#include <spdlog/spdlog.h>

namespace benchmarks {
namespace {

constexpr unsigned kShown = 1;
constexpr unsigned kSuppressed = 15;

std::atomic<unsigned> g_level{2};

unsigned Level() {
    return g_level.load(std::memory_order_relaxed);
}

void TakeLine(unsigned, int, char* text) {
    Keep(*text);
}

/// Hands the bare text on, as the log stream does; without a lock, since the log stream has none.
class TextSink : public spdlog::sinks::base_sink<spdlog::details::null_mutex> {
protected:
    void sink_it_(const spdlog::details::log_msg& message) override {
        spdlog::memory_buf_t text;
        formatter_->format(message, text);
        text.push_back('\0');
        TakeLine(kShown, 0, text.data());
    }
    void flush_() override {}
};

std::shared_ptr<spdlog::logger> TextLogger() {
    auto logger = std::make_shared<spdlog::logger>("text", std::make_shared<TextSink>());
    logger->set_pattern("%v");
    logger->set_level(spdlog::level::warn);
    return logger;
}

void WriteLine(unsigned level, int plate, int step) {
    ZRLogStreamC log(nullptr, nullptr, nullptr, nullptr);
    log << ZRLevel(level) << "PlateC::LoadPlate(): plate " << plate << " is at step " << step << std::endl;
}

void WriteOstrstream(int plate, int step) {
    std::ostrstream line;
    line << "PlateC::LoadPlate(): plate " << plate << " is at step " << step << std::endl << std::ends;
    TakeLine(0, 1, line.str());
    line.freeze(false);
}

} // namespace

void Logging() {
    const auto logger = TextLogger();
    int plate = 1234;
    int step = 7;
    ZRLogStreamC::SetDBFn(&TakeLine);
    ZRLogStreamC::SetDBGetLevelFn(&Level);
    const Batch suppressed = Repeat([&] {
        Keep(plate);
        WriteLine(kSuppressed, plate, step);
    });
    const Peer disabled{"spdlog, level disabled at run time", Repeat([&] {
                            Keep(plate);
                            logger->debug(kLine, plate, step);
                        }),
                        2.5};
    const Batch asked = Repeat([] {
        bool enabled = ZRLogStreamC::IsLevelEnabled(kSuppressed);
        Keep(enabled);
    });
    Compare("suppressed log line, level from a hook", suppressed, {disabled});
    Limit("level asked before a line is begun, from a hook", asked, 2);
    ZRLogStreamC::SetDBGetLevelFn(&Level, g_level);
    Compare("suppressed log line, level in a variable", suppressed, {disabled});
    Limit("level asked before a line is begun, in a variable", asked, 2);
    Compare("line delivered to a hook that does nothing", Repeat([&] {
                Keep(plate);
                WriteLine(kShown, plate, step);
            }),
            {{"spdlog, text-only callback sink", Repeat([&] {
                  Keep(plate);
                  logger->warn(kLine, plate, step);
              }),
              1.0},
             {"spdlog, coarse clock, sink without formatter", WriteWithCoarseSpdlog(plate, step), 1.0},
             {"std::ostrstream for each line", Repeat([&] {
                  Keep(plate);
                  WriteOstrstream(plate, step);
              }),
              0.4}});
}

} // namespace benchmarks
