// The payloads of scheduler and interrupt events, in the forms of the kernel's own format and of
// the shorter one that trace-cmd prints. Names of tasks may hold anything, so a name reaches up to
// the next field that has a number. Tested by tests/importers/line_parsers_test.cpp.
#include "scheduler/event_payloads.h"

#include <charconv>

namespace lanefeed_importers {
namespace {

// Walks along a payload. Every step answers false, and stays where it is, if its text isn't there.
class Cursor {
public:
    explicit Cursor(std::string_view text) : m_rest(text) {}

    bool skip(std::string_view text) {
        if (m_rest.substr(0, text.size()) != text) return false;
        m_rest.remove_prefix(text.size());
        return true;
    }
    bool skipPast(std::string_view text) {
        const std::size_t at = m_rest.find(text);
        if (at == std::string_view::npos) return false;
        m_rest.remove_prefix(at + text.size());
        return true;
    }
    bool number(std::int32_t& out) {
        const char* const end = m_rest.data() + m_rest.size();
        const auto [behind, failure] = std::from_chars(m_rest.data(), end, out);
        if (failure != std::errc()) return false;
        if (behind != end && *behind != ' ' && *behind != ']') return false;
        m_rest.remove_prefix(static_cast<std::size_t>(behind - m_rest.data()));
        return true;
    }
    // Up to the next blank.
    bool word(std::string_view& out) {
        out = m_rest.substr(0, m_rest.find(' '));
        m_rest.remove_prefix(out.size());
        return !out.empty();
    }
    // A name up to the first `mark` with a number behind, and that number.
    bool nameAndNumber(std::string_view& name, std::string_view mark, std::int32_t& out) {
        const std::string_view from = m_rest;
        while (skipPast(mark)) {
            const std::size_t length = from.size() - m_rest.size() - mark.size();
            if (!number(out)) continue;
            name = from.substr(0, length);
            return true;
        }
        m_rest = from;
        return false;
    }
    std::string_view rest() const { return m_rest; }

private:
    std::string_view m_rest;
};

// "[120]": the priority, which nobody needs.
bool skipBracketed(Cursor& at) {
    std::int32_t number = 0;
    return at.skip(" [") && at.number(number) && at.skip("]");
}

// "comm:pid [prio]". A name may hold colons and numbers, so the one with a priority behind counts.
bool shortTask(Cursor& at, std::string_view& name, std::int32_t& pid) {
    const std::string_view from = at.rest();
    std::string_view part;
    while (at.nameAndNumber(part, ":", pid)) {
        Cursor behind = at;
        if (!skipBracketed(behind)) continue;
        at = behind;
        const char* const end = part.data() + part.size();
        name = from.substr(0, static_cast<std::size_t>(end - from.data()));
        return true;
    }
    return false;
}

bool switchInFields(Cursor at, SwitchPayload& out) {
    return at.nameAndNumber(out.prevName, " prev_pid=", out.prevPid) &&
           at.skipPast(" prev_state=") && at.word(out.prevState) && (at.skip(" ==>"), true) &&
           at.skip(" next_comm=") && at.nameAndNumber(out.nextName, " next_pid=", out.nextPid);
}

bool switchInShort(Cursor at, SwitchPayload& out) {
    return shortTask(at, out.prevName, out.prevPid) && at.skip(" ") && at.word(out.prevState) &&
           at.skip(" ==> ") && shortTask(at, out.nextName, out.nextPid);
}

// The core of a wakeup is told by some kernels only.
std::int32_t coreBehind(Cursor at, std::string_view mark) {
    std::int32_t core = -1;
    return at.skipPast(mark) && at.number(core) && core >= 0 ? core : -1;
}

}  // namespace

KernelEvent kernelEventOf(std::string_view name) {
    struct Known {
        std::string_view name;
        KernelEvent event;
    };
    static constexpr Known kKnown[] = {
        {"sched_switch", KernelEvent::switchTo},
        {"sched_wakeup", KernelEvent::wakeup},
        {"sched_wakeup_new", KernelEvent::wakeup},
        {"sched_migrate_task", KernelEvent::migration},
        {"irq_handler_entry", KernelEvent::irqEntry},
        {"irq_handler_exit", KernelEvent::irqExit},
        {"softirq_entry", KernelEvent::softirqEntry},
        {"softirq_exit", KernelEvent::softirqExit},
        {"tracing_mark_write", KernelEvent::mark},
        {"print", KernelEvent::mark},
        {"bprint", KernelEvent::mark},
        {"0", KernelEvent::mark},  // kernels that don't name it yet
    };
    for (const Known& known : kKnown) {
        if (known.name == name) return known.event;
    }
    return KernelEvent::other;
}

bool parseSwitch(std::string_view text, SwitchPayload& out) {
    Cursor at(text);
    return at.skip("prev_comm=") ? switchInFields(at, out) : switchInShort(at, out);
}

bool parseWakeup(std::string_view text, WakeupPayload& out) {
    Cursor at(text);
    if (at.skip("comm=")) {
        if (!at.nameAndNumber(out.name, " pid=", out.pid)) return false;
        out.targetCore = coreBehind(at, " target_cpu=");
        return true;
    }
    if (!shortTask(at, out.name, out.pid)) return false;
    out.targetCore = coreBehind(at, " CPU:");
    return true;
}

bool parseMigration(std::string_view text, MigrationPayload& out) {
    Cursor at(text);
    return at.skip("comm=") && at.nameAndNumber(out.name, " pid=", out.pid) &&
           at.skipPast(" orig_cpu=") && at.number(out.fromCore) && at.skip(" dest_cpu=") &&
           at.number(out.toCore) && out.fromCore >= 0 && out.toCore >= 0;
}

bool parseIrq(std::string_view text, InterruptPayload& out) {
    Cursor at(text);
    if (!at.skip("irq=") || !at.number(out.number)) return false;
    out.name = at.skip(" name=") ? at.rest() : std::string_view();
    return true;
}

bool parseSoftirq(std::string_view text, InterruptPayload& out) {
    Cursor at(text);
    if (!at.skip("vec=") || !at.number(out.number)) return false;
    out.name = {};
    if (!at.skip(" [action=")) return true;
    const std::size_t length = at.rest().find(']');
    if (length == std::string_view::npos) return false;
    out.name = at.rest().substr(0, length);
    return true;
}

}  // namespace lanefeed_importers
