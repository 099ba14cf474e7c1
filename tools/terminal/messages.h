// Messages and output. The report on a file is a value that the work fills and the program prints in the order of
// files.
#pragma once

#include <string>
#include <utility>
#include <vector>

namespace kpx::tool {

struct Message {
    enum class Kind { note, warning };

    Kind kind;
    std::string file;      // that the message is about
    std::string sentence;  // without the file's name
    std::string group;     // the sentence for several files that share it
};

class Report {
public:
    explicit Report(std::string file) : m_file(std::move(file)) {}

    // Adds to standard output.
    void print(const std::string& text) { m_output += text; }
    // Add a warning about the file, or about another one. A group says the same of many files, without numbers.
    void warn(const std::string& sentence, const std::string& group = "") { warnAbout(m_file, sentence, group); }
    void warnAbout(const std::string& file, const std::string& sentence, const std::string& group = "") {
        m_messages.push_back({Message::Kind::warning, file, sentence, group.empty() ? sentence : group});
    }
    // Adds a note, which --quiet drops.
    void note(const std::string& sentence, const std::string& group = "") {
        m_messages.push_back(
            {Message::Kind::note, m_file, "note: " + sentence, "note: " + (group.empty() ? sentence : group)});
    }
    // Sets what the file counts as in the summary of the run.
    void countAs(const char* what) { m_counted = what; }

    [[nodiscard]] const std::string& file() const { return m_file; }
    [[nodiscard]] const std::string& output() const { return m_output; }
    [[nodiscard]] const std::vector<Message>& messages() const { return m_messages; }
    [[nodiscard]] const char* counted() const { return m_counted; }  // null: by the outcome

private:
    std::string m_file, m_output;
    std::vector<Message> m_messages;
    const char* m_counted = nullptr;
};

// Returns the text with '?' for each character that could act on a terminal or reorder what it shows: control
// characters of ASCII and Latin-1 (also as bytes of invalid UTF-8), line separators, bidirectional controls.
std::string printable(const std::string& text);

// Prints "kpximage: MESSAGE" or "kpximage: FILE: MESSAGE" as one line.
void printMessage(const std::string& message);
void printMessage(const std::string& file, const std::string& message);

// Replaces the text below the messages on a terminal; "" removes it. Thread-safe.
void showProgress(const std::string& text);

// Opens standard streams that are closed, so that no other file gets their descriptors. Writing to them still fails.
void holdStandardStreams();

// Prints to standard output. flushOutput reports errors.
void print(const std::string& text);
// Returns false and prints a message if output could not be written.
bool flushOutput();

}  // namespace kpx::tool
