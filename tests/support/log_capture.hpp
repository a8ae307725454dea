// Captures what goes to Qt's message logger while it lives.
#pragma once

#include <QtGlobal>
#include <string>
#include <vector>

namespace quorrin::test {

struct LogLine {
    QtMsgType type;
    std::string category;
    bool has_context;  // file, line or function was given
    std::string text;  // UTF-8
};

class LogCapture {
  public:
    LogCapture();
    ~LogCapture();
    LogCapture(const LogCapture&) = delete;
    LogCapture& operator=(const LogCapture&) = delete;

    // The texts logged since construction or the last clear(). Also checks that each line was a
    // debug line of category "default" without file, line and function.
    std::vector<std::string> texts() const;
    const std::vector<LogLine>& lines() const;
    void clear();

    // Number of lines logged since construction or the last clear() of the capture that lives.
    static std::size_t line_count();

  private:
    QtMessageHandler previous_;
};

}  // namespace quorrin::test
