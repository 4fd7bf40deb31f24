#pragma once

// The system's own diagnostic lines ("newRecorder Error: ...", "SimpleRunAppleScript err = ...")
// are for whoever debugs it, not for the user at the terminal. The engine writes them here;
// each front end decides where they go: tolm-convert to standard error with --verbose and
// nowhere otherwise, the wizard to its log file. Until a front end says, standard error.
// Not for the audio threads: a sink may lock and write to a file.

#include <atomic>
#include <cstdarg>
#include <cstdio>
#include <string>
#include <string_view>

namespace Tolm {

class SystemLog {
  public:
    class Sink {
      public:
        virtual ~Sink() = default;
        // Any thread but the audio threads'; the text is passed as it was written,
        // with its line end if it has one.
        virtual void Write(std::string_view text) = 0;
    };

    // The sink must outlive its use; null brings back standard error. Returns the previous one.
    static Sink* SetSink(Sink* sink) { return sCurrent.exchange(sink); }
    static Sink* CurrentSink() { return sCurrent.load(); }

    static void Write(std::string_view text)
    {
        if (Sink* sink = sCurrent.load())
            sink->Write(text);
        else
            StandardError().Write(text);
    }

    [[gnu::format(printf, 1, 2)]] static void Print(const char* format, ...)
    {
        char line[512];
        va_list args;
        va_start(args, format);
        va_list again;
        va_copy(again, args);
        const int length = std::vsnprintf(line, sizeof line, format, args);
        va_end(args);
        if (length < 0) {
            va_end(again);
            return;
        }
        if (std::size_t(length) < sizeof line) {
            va_end(again);
            Write(std::string_view(line, std::size_t(length)));
            return;
        }
        std::string longer(std::size_t(length) + 1, '\0');
        std::vsnprintf(longer.data(), longer.size(), format, again);
        va_end(again);
        longer.pop_back();
        Write(longer);
    }

    static Sink& StandardError()
    {
        static struct : Sink {
            void Write(std::string_view text) override
            {
                std::fwrite(text.data(), 1, text.size(), stderr);
                std::fflush(stderr);
            }
        } sink;
        return sink;
    }

    static Sink& Nowhere()
    {
        static struct : Sink {
            void Write(std::string_view) override {}
        } sink;
        return sink;
    }

  private:
    static inline std::atomic<Sink*> sCurrent{nullptr};
};

} // namespace Tolm
