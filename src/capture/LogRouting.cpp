#include "capture/LogRouting.h"

#include "filters/FilterLog.h"

#include <QByteArray>
#include <QString>
#include <QtGlobal>
#include <array>
#include <chrono>
#include <cstdint>

namespace Tolm::Capture {

namespace {

// The filters' lines are literals, so the ring holds pointers only. A line that finds its
// slot still taken (more than a ring's worth between two drains) is dropped.
constexpr std::size_t kSlots = 256;
std::array<std::atomic<const char*>, kSlots> gPending{};
std::atomic<std::uint64_t> gWritten{0};
std::uint64_t gRead = 0; // the writer thread's

void FromFilters(const char* line)
{
    const std::uint64_t index = gWritten.fetch_add(1, std::memory_order_relaxed);
    const char* empty = nullptr;
    gPending[index % kSlots].compare_exchange_strong(empty, line, std::memory_order_release,
                                                     std::memory_order_relaxed);
}

void FromQt(QtMsgType type, const QMessageLogContext& context, const QString& message)
{
    const QByteArray line = (qFormatLogMessage(type, context, message) + QLatin1Char('\n')).toLocal8Bit();
    const std::string_view text(line.constData(), std::size_t(line.size()));
    SystemLog::Write(text);
    if (type == QtFatalMsg && SystemLog::CurrentSink())
        SystemLog::StandardError().Write(text);
}

} // namespace

LogRouting::LogRouting(SystemLog::Sink* sink)
{
    SystemLog::SetSink(sink);
    qInstallMessageHandler(&FromQt);
    mWriter = std::thread([this] {
        while (!mStop.load()) {
            std::this_thread::sleep_for(std::chrono::milliseconds(50));
            Drain();
        }
    });
    Morvo::Audio::Filters::FilterLog::SetHook(&FromFilters);
}

LogRouting::~LogRouting()
{
    Morvo::Audio::Filters::FilterLog::SetHook(nullptr);
    mStop.store(true);
    mWriter.join();
    Drain();
    qInstallMessageHandler(nullptr);
    SystemLog::SetSink(nullptr);
}

// From the oldest unread slot round the ring once, in the order the lines were written.
void LogRouting::Drain()
{
    const std::uint64_t written = gWritten.load(std::memory_order_relaxed);
    for (std::size_t i = 0; i < kSlots; ++i) {
        if (const char* line = gPending[(gRead + i) % kSlots].exchange(nullptr, std::memory_order_acquire))
            SystemLog::Write(line);
    }
    gRead = written;
}

} // namespace Tolm::Capture
