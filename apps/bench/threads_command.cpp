#include "apps/bench/hang.h"
#include "apps/bench/imager_visit.h"
#include "apps/bench/output.h"

#include <cstdio>

namespace apps {
namespace {

const char* PriorityName(int priority) {
    return priority < THREAD_PRIORITY_BELOW_NORMAL    ? "lowest"
           : priority < THREAD_PRIORITY_NORMAL        ? "below normal"
           : priority == THREAD_PRIORITY_NORMAL       ? "normal"
           : priority == THREAD_PRIORITY_ABOVE_NORMAL ? "above normal"
                                                      : "highest";
}

void PrintLine(const std::string& text) {
    std::printf("%s\n", Shortened(Printable(text), OutputColumns()).c_str());
}

/// A thread and what descends from it, two columns further in for each generation.
class TreePrinter {
public:
    TreePrinter(const ThreadReport& report, long long now) : m_report(report), m_nNow(now) {}

    void Print(const ThreadState& thread, std::size_t depth) const {
        const std::string margin(2 * depth, ' ');
        const char* const state = !thread.alive ? ", ended" : thread.ending ? ", ending" : "";
        PrintLine(margin + thread.name + "  thread " + std::to_string(thread.id) + ", priority " +
                  std::to_string(thread.priority) + " (" + PriorityName(thread.priority) + ")" + state);
        PrintLocks(thread, margin + "    ");
        for (const ThreadState& child : m_report.threads) {
            // Whatever else a report claims, a child stands behind its parent, so that this ends.
            if (child.parent == thread.id && &child > &thread) {
                Print(child, depth + 1);
            }
        }
    }

private:
    std::string Since(int milliseconds) const {
        return " since " + TimeText(m_nNow - milliseconds, "%H:%M:%S ") + ", for " + Span(milliseconds);
    }

    void PrintLocks(const ThreadState& thread, const std::string& margin) const {
        for (const LockState& lock : m_report.locks) {
            if (lock.owner == thread.id) {
                PrintLine(margin + "holds '" + lock.name + "'" + Since(lock.milliseconds));
                PrintLine(margin + "  as " + lock.locker);
            }
        }
        if (thread.awaits.empty()) {
            return;
        }
        PrintLine(margin + "waits for '" + thread.awaits + "'" + Since(thread.milliseconds));
        if (const LockState* const lock = FindLock(m_report, thread.awaits); lock && lock->owner != 0) {
            PrintLine(margin + "  held by " + ThreadName(m_report, lock->owner));
            PrintLine(margin + "  as " + lock->locker);
        }
    }

    const ThreadReport& m_report;
    long long m_nNow;
};

JsonObject LockAsJson(const std::string& lock, int milliseconds, long long now) {
    JsonObject object;
    object.Text("lock", lock).Text("since", TimeText(now - milliseconds, kTimeForPrograms));
    return object.Real("seconds", milliseconds / 1000.0);
}

std::string ThreadAsJson(const ThreadReport& report, const ThreadState& thread, long long now) {
    JsonObject object;
    object.Text("name", thread.name).Number("id", thread.id);
    thread.parent == 0 ? object.Null("parent") : object.Number("parent", thread.parent);
    object.Number("priority", thread.priority).Bool("alive", thread.alive).Bool("ending", thread.ending);
    JsonArray holds;
    for (const LockState& lock : report.locks) {
        if (lock.owner == thread.id) {
            holds.Add(LockAsJson(lock.name, lock.milliseconds, now).Text("locker", lock.locker).Json());
        }
    }
    object.Value("holds", holds.Json());
    if (thread.awaits.empty()) {
        return object.Null("waits").Json();
    }
    JsonObject waits = LockAsJson(thread.awaits, thread.milliseconds, now);
    const LockState* const lock = FindLock(report, thread.awaits);
    if (lock && lock->owner != 0) {
        waits.Number("owner", lock->owner).Text("locker", lock->locker);
    } else {
        waits.Null("owner").Null("locker");
    }
    return object.Value("waits", waits.Json()).Json();
}

std::string ReportAsJson(const ThreadReport& report, std::uint16_t imager, const std::optional<Hang>& hang) {
    const long long now = Now();
    JsonArray threads;
    for (const ThreadState& thread : report.threads) {
        threads.Add(ThreadAsJson(report, thread, now));
    }
    JsonObject object;
    object.Number("imager", imager).Number("process", report.process).Text("time", TimeText(now, kTimeForPrograms));
    object.Value("threads", threads.Json()).Bool("hangs", hang.has_value());
    hang ? object.Number("culprit", hang->culprit) : object.Null("culprit");
    return object.TextOrNull("verdict", hang ? hang->text : "").Json();
}

void PrintReport(const ThreadReport& report, std::uint16_t imager, const std::optional<Hang>& hang) {
    const long long now = Now();
    PrintLine("imager " + std::to_string(imager) + ", process " + std::to_string(report.process) + ", " +
              TimeText(now, kTimeForPeople));
    const TreePrinter printer(report, now);
    for (const ThreadState& thread : report.threads) {
        if (!FindThread(report, thread.parent)) {
            printer.Print(thread, 0);
        }
    }
    if (!hang) {
        std::printf("%s: no lock is held or waited for longer than %s\n",
                    Painted(Stream::kOutput, Colour::kGood, "nothing hangs").c_str(), Span(kHangsAfter).c_str());
    }
}

Outcome AskFor(ThreadReport& report, const ImagerOptions& options, const Interrupt& interrupt) {
    // Told apart from that of another call whose answers may still be under way.
    const auto request = static_cast<std::int32_t>(::GetTickCount64() & 0x7FFFFFFF);
    ImagerVisit visit(options, ImagerVisit::Purpose::kQuestion, interrupt);
    if (Outcome failure = visit.Begin()) {
        return failure;
    }
    ThreadReportReader reader(request);
    Message reply;
    Outcome failure = visit.Client().Command(MakeThreadsCommand(request), reply);
    while (!failure) {
        reader.Add(reply);
        if (reader.IsWhole()) {
            report = reader.Report();
            return std::nullopt;
        }
        failure = visit.Client().NextReply(kThreads, reply);
    }
    if (failure->exit == Exit::kTimedOut) {
        const std::string number = std::to_string(options.id);
        failure->text = reader.Received() > 0
                            ? "only " + std::to_string(reader.Received()) + " of " + std::to_string(reader.Expected()) +
                                  " parts of the answer of imager " + number + " came: try again"
                            : "imager " + number + " gave no answer within " +
                                  Span(static_cast<long long>(options.timeout * 1000)) +
                                  ": its receiver hangs, or the channel does, which 'bench channel doctor' tells; if "
                                  "the channel is in order end the imager's process and start it again";
    }
    return failure;
}

} // namespace

Outcome ThreadsCommand(const ImagerOptions& options, const Interrupt& interrupt) {
    const std::string number = std::to_string(options.id);
    ThreadReport report;
    if (Outcome failure = AskFor(report, options, interrupt)) {
        return failure;
    }
    const std::optional<Hang> hang = FindHang(report);
    if (options.json) {
        std::printf("%s\n", ReportAsJson(report, options.id, hang).c_str());
    } else {
        PrintReport(report, options.id, hang);
    }
    if (hang) {
        return Fail("ThreadsCommand(): ", ZRErrors::e_CriticalSection_TimeOut, Exit::kFailed,
                    "imager " + number + " hangs: " + hang->text + ": 'bench imager stop" + IdWords(options.id) +
                        "' ends it");
    }
    return std::nullopt;
}

} // namespace apps
