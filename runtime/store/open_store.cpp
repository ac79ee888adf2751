// Opens a result: looks at the head of the file first, so that every kind of wrong file gets its
// own words. Tested by tests/store/open_store_test.cpp.
#include "store/open_store.h"

#include "store/dialect.h"
#include "store/file_head.h"
#include "store/filter_file.h"
#include "store/instance_reader.h"
#include "store/instance_reading.h"
#include "store/read_facts.h"
#include "store/result_database.h"
#include "store/schema.h"
#include "store/store_session.h"

#include <system_error>

namespace lanefeed_runtime {
namespace {

using Kind = StoreError::Kind;

StoreError headError(const std::string& file, const FileHead& head) {
    switch (head.kind) {
    case FileHead::Kind::missing: return {Kind::cannotRead, file + ": there is no such file"};
    case FileHead::Kind::unreadable:
        return {Kind::cannotRead,
                file + ": cannot be read: " + std::generic_category().message(head.systemError) +
                    "; check its permissions"};
    case FileHead::Kind::noFile:
        return {Kind::cannotRead, file + ": is no file; give the file of a result (.lft)"};
    case FileHead::Kind::empty:
        return {Kind::notUnderstood, file + ": is empty; import the trace again"};
    case FileHead::Kind::other:
        return {Kind::notUnderstood, file +
                                         ": is no result; import the trace first and open what"
                                         " that writes (.lft)"};
    case FileHead::Kind::otherVersion:
        return {Kind::notUnderstood, file + ": has schema version " + std::to_string(head.version) +
                                         ", this program reads version " +
                                         std::to_string(kSchemaVersion) +
                                         "; import the trace again"};
    case FileHead::Kind::truncated:
        return {Kind::notUnderstood, file + ": is cut off; copy it anew or import the trace again"};
    case FileHead::Kind::result: break;
    }
    return {};
}

StoreError damage(const std::string& file, const std::string& what) {
    return {Kind::notUnderstood, file + ": is damaged: " + what + "; import the trace again"};
}

const char* remedyOf(Connection::Cause cause) {
    switch (cause) {
    case Connection::Cause::busy:
        return "; another program is changing it, try again when it has ended";
    case Connection::Cause::readOnly:
        return "; a program that changed it has died, open it once with permission to write to the "
               "file and its folder";
    default: return "; check the disk";
    }
}

// Null, with the error, when the file can't be read.
std::shared_ptr<StoreSession> readSession(const std::string& file,
                                          StoreError& error,
                                          Connection::Cause& cause) {
    auto session = std::make_shared<StoreSession>();
    session->file = file;
    std::string message;
    session->connection = Connection::open(file, Connection::Mode::read, message);
    if (session->connection == nullptr) {
        error = {Kind::cannotRead,
                 file + ": cannot be opened: " + message + "; check its permissions"};
        return nullptr;
    }
    const bool isRead = session->connection->run(dialect::readerSettings()) &&
                        session->catalog.read(*session->connection);
    if (isRead) return session;
    const std::string text = session->connection->message();
    cause = session->connection->cause();
    error =
        session->connection->isDamage()
            ? damage(file, text)
            : StoreError{Kind::cannotRead, file + ": cannot be read: " + text + remedyOf(cause)};
    return nullptr;
}

// A program that died while it kept filters leaves a file that nobody may read before the change is
// taken back, which the engine does for who may write.
bool takeBackChange(const std::string& file) {
    std::string message;
    const auto connection = Connection::open(file, Connection::Mode::write, message);
    if (connection == nullptr) return false;
    Statement tables = connection->prepare(dialect::listTables());
    return tables && tables.step() != Statement::Step::failed;
}

std::shared_ptr<StoreSession> openSession(const std::string& file, StoreError& error) {
    Connection::Cause cause = Connection::Cause::other;
    std::shared_ptr<StoreSession> session = readSession(file, error, cause);
    if (session != nullptr || cause != Connection::Cause::readOnly || !takeBackChange(file))
        return session;
    error = {};
    return readSession(file, error, cause);
}

// What every result holds; a file without it was not made by a writer of results.
bool isComplete(const Catalog& catalog) {
    const int facts = catalog.find(table(TableId::result).name);
    return facts >= 0 && catalog.table(facts).inFile && catalog.table(catalog.bands()).inFile;
}

// Bands are numbered from 1 on, and many look them up by their number in memory. One number that is
// far beyond their count would take all of it.
bool areBandsNumbered(Connection& connection) {
    constexpr std::int64_t kMostGaps = std::int64_t{1} << 22;
    const auto number = [&](const char* what) {
        Statement read = connection.prepare(std::string("select ") + what + " from \"dd_band\"");
        return read && read.step() == Statement::Step::row ? read.integer(0) : 0;
    };
    const std::int64_t greatest = number("max(\"rowid\")");
    return greatest <= kMostGaps || greatest - number("count(*)") <= kMostGaps;
}

}  // namespace

OpenStore openStore(const std::string& file, StoreError& error) {
    error = headError(file, readFileHead(file));
    if (error.failed()) return {};
    const std::shared_ptr<StoreSession> session = openSession(file, error);
    // Bulk reads have a connection of their own.
    const std::shared_ptr<StoreSession> bulk =
        session != nullptr ? openSession(file, error) : nullptr;
    if (bulk == nullptr) return {};
    bulk->brokenReads = session->brokenReads;
    auto facts = std::make_shared<ResultFacts>();
    if (!isComplete(session->catalog) || !readFacts(*session, *facts)) {
        error = damage(file, session->connection->isDamage()
                                 ? session->connection->message()
                                 : "its facts about the trace are missing or make no sense");
        return {};
    }
    if (!areBandsNumbered(*session->connection)) {
        error = damage(file, "a band has a number that no writer gives");
        return {};
    }
    OpenStore store;
    const auto filters = basekit2::make_object<FilterRegistry>(session);
    store.facts = facts;
    store.brokenReads = session->brokenReads;
    store.instances = makeInstanceReader(bulk);
    const auto database =
        basekit2::make_object<ResultDatabase>(session, store.facts, store.instances, filters);
    store.database = database;
    store.perfDatabase = database;
    store.filters = filters;
    FilterMap kept;
    store.filterError = readFilters(*session, kept);
    for (const auto& [name, filter] : kept)
        filters->setFilter(name, filter);
    return store;
}

}  // namespace lanefeed_runtime
