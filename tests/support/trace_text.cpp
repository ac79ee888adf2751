#include "support/trace_text.h"

#include <cstdlib>
#include <map>
#include <sstream>
#include <stdexcept>
#include <utility>

namespace lanefeed_test {

using namespace lanefeed_runtime;  // NOLINT(google-build-using-namespace)

namespace {

struct Span {
    std::int64_t begin = 0;
    std::int64_t end = 0;
};

// Words whose lines are a row and spans or points on it, or a row and a time, twice, and a name.
struct Verb {
    TableId row;
    TableId table;
    TableId names;
};

const std::map<std::string, Verb> kSpans = {
    {"thread", {TableId::thread, TableId::sliceData, TableId::task}},
    {"track", {TableId::track, TableId::asyncData, TableId::task}},
    {"core", {TableId::core, TableId::runningData, TableId::thread}},
    {"state", {TableId::thread, TableId::stateData, TableId::state}},
    {"interrupt", {TableId::core, TableId::interruptData, TableId::task}},
    {"marker", {TableId::thread, TableId::markerData, TableId::marker}}};
const std::map<std::string, Verb> kFlows = {
    {"flow", {TableId::thread, TableId::flowData, TableId::flow}},
    {"wakeup", {TableId::thread, TableId::wakeupData, TableId::flow}},
    {"migration", {TableId::core, TableId::migrationData, TableId::thread}}};

class TextReader {
public:
    explicit TextReader(ResultWriter& writer) : m_writer(writer) {}

    void read(const std::string& line) {
        m_line = line;
        std::istringstream words(line.substr(0, line.find('#')));
        std::string verb;
        if (!(words >> verb)) return;
        if (kSpans.count(verb) != 0) return readSpans(words, kSpans.at(verb));
        if (kFlows.count(verb) != 0) return readFlow(words, kFlows.at(verb));
        const std::string name = word(words);
        if (verb == "process") {
            m_process = name;
            processId();
        } else if (verb == "counter") {
            readCounter(words, name);
        } else if (verb == "pause") {
            const Span span = spanOf(name);
            check(m_writer.addPause(span.begin, span.end));
        } else {
            check(verb == "alive");
            readLife(name, spanOf(word(words)));
        }
    }

private:
    void check(bool good) const {
        if (!good)
            throw std::runtime_error("trace text: \"" + m_line + "\" " + m_writer.error().text);
    }

    std::string word(std::istringstream& words) const {
        std::string out;
        check(static_cast<bool>(words >> out));
        return out;
    }

    std::int64_t timeOf(const std::string& text) const {
        char* end = nullptr;
        const std::int64_t time = std::strtoll(text.c_str(), &end, 10);
        check(!text.empty() && *end == '\0');
        return time;
    }

    // A time alone is a point.
    Span spanOf(const std::string& text) const {
        const std::size_t dots = text.find("..");
        const std::int64_t begin = timeOf(text.substr(0, dots));
        if (dots == std::string::npos) return {begin, begin};
        const std::string end = text.substr(dots + 2);
        return {begin, end.empty() ? kToEnd : timeOf(end)};
    }

    // What stands behind a mark, both taken off the text; empty without the mark.
    static std::string takeBehind(std::string& text, char mark) {
        const std::size_t at = text.find(mark);
        if (at == std::string::npos) return {};
        const std::string taken = text.substr(at + 1);
        text.resize(at);
        return taken;
    }

    // name*count@category%core{args}
    void readName(std::string text, TableId names, InstanceRow& row) {
        const std::string args = takeBehind(text, '{');
        if (!args.empty()) row.args = m_writer.addArgs("{" + args);
        check(row.args > 0 || args.empty());
        const std::string core = takeBehind(text, '%');
        if (!core.empty()) row.core = rowId(TableId::core, core);
        const std::string category = takeBehind(text, '@');
        if (!category.empty()) row.category = m_writer.named(TableId::category, category);
        const std::string count = takeBehind(text, '*');
        if (!count.empty()) row.count = timeOf(count);
        if (text == "-") return;
        row.attr = names == TableId::thread ? rowId(names, text) : m_writer.named(names, text);
    }

    int processId() {
        const int next = static_cast<int>(m_pids.size()) + 1;
        const int pid = m_pids.emplace(m_process, next).first->second;
        return m_writer.attribute(TableId::process, m_process,
                                  {{"name", m_process}, {"pid", pid}, {"sort", pid}});
    }

    int rowId(TableId type, const std::string& name) {
        if (type == TableId::core) {
            const auto number = static_cast<int>(timeOf(name));
            return m_writer.attribute(
                type, name, {{"name", "core " + name}, {"number", number}, {"sort", number}});
        }
        const int process = processId();
        const int known = m_writer.find(type, m_process + "/" + name);
        if (known > 0) return known;
        std::vector<Cell> cells = {{"name", name}, {"dd_process", process}, {"sort", m_sort++}};
        if (type == TableId::thread) cells.emplace_back("tid", m_sort);
        return m_writer.attribute(type, m_process + "/" + name, cells);
    }

    // Of a thread of the process at hand, or of "process/thread".
    int bandOf(TableId type, const std::string& name) {
        const std::size_t slash = type == TableId::thread ? name.find('/') : std::string::npos;
        if (slash != std::string::npos) {
            const std::string process = std::exchange(m_process, name.substr(0, slash));
            const int band = bandOf(type, name.substr(slash + 1));
            m_process = process;
            return band;
        }
        const auto alive = m_alive.find({m_process, name});
        if (type == TableId::thread && alive != m_alive.end()) return alive->second;
        return m_writer.band(type, rowId(type, name));
    }

    void readSpans(std::istringstream& words, const Verb& spans) {
        const int band = bandOf(spans.row, word(words));
        std::string text;
        while (words >> text) {
            const Span span = spanOf(text);
            InstanceRow row;
            row.begin = span.begin;
            row.end = span.end;
            row.band = band;
            const std::string name = word(words);
            const bool isIdle = spans.table == TableId::runningData && name == "-";
            readName(isIdle ? "Idle" : name, isIdle ? TableId::state : spans.names, row);
            check(m_writer.add(isIdle ? TableId::idleData : spans.table, row));
        }
    }

    void readCounter(std::istringstream& words, const std::string& name) {
        InstanceRow row;
        row.band = bandOf(TableId::counter, name);
        row.attr = rowId(TableId::counter, name);
        bool isOpen = false;
        std::string text;
        while (words >> text) {
            const std::size_t equals = text.find('=');
            check(equals != std::string::npos);
            row.end = timeOf(text.substr(0, equals));
            if (isOpen) check(m_writer.add(TableId::counterData, row));
            isOpen = true;
            row.begin = row.end;
            row.value = std::stod(text.substr(equals + 1));
        }
        row.end = kToEnd;
        if (isOpen) check(m_writer.add(TableId::counterData, row));
    }

    void readFlow(std::istringstream& words, const Verb& flow) {
        InstanceRow row;
        row.sourceBand = bandOf(flow.row, word(words));
        row.sourceBegin = timeOf(word(words));
        row.band = bandOf(flow.row, word(words));
        row.begin = row.end = timeOf(word(words));
        readName(word(words), flow.names, row);
        check(m_writer.add(flow.table, row));
    }

    // What follows on the thread goes to this band.
    void readLife(const std::string& name, const Span& span) {
        const int thread = rowId(TableId::thread, name);
        const int band = m_writer.addBand(TableId::thread, thread, span.begin, span.end);
        check(band > 0);
        m_alive[{m_process, name}] = band;
    }

    ResultWriter& m_writer;
    std::string m_line;
    std::string m_process = "app";
    std::map<std::string, int> m_pids;
    std::map<std::pair<std::string, std::string>, int> m_alive;
    int m_sort = 0;
};

}  // namespace

void addTraceText(ResultWriter& writer, const std::string& text) {
    TextReader reader(writer);
    std::istringstream lines(text);
    std::string line;
    while (std::getline(lines, line))
        reader.read(line);
}

void writeTraceText(const std::string& file, const std::string& text, long long ticksPerSecond) {
    WriterOptions options;
    options.target = file;
    options.sourceIdentity = "trace text";
    StoreError error;
    const auto writer = ResultWriter::create(options, error);
    if (writer == nullptr) throw std::runtime_error(error.text);
    addTraceText(*writer, text);
    writer->setFact(result_keys::kTicksPerSecond, std::to_string(ticksPerSecond));
    if (!writer->finish()) throw std::runtime_error(writer->error().text);
}

TextResult::TextResult(const std::string& text, long long ticksPerSecond)
    : m_file(m_directory.file("trace.lft")) {
    writeTraceText(m_file, text, ticksPerSecond);
    StoreError error;
    m_store = openStore(m_file, error);
    if (m_store.failed()) throw std::runtime_error(error.text);
}

}  // namespace lanefeed_test
