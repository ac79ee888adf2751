// Files with query definitions, as they are named when a result is opened or its queries are
// listed. Tested by tests/queries/open_result_test.cpp.
#include "query_files.h"

#include "messages/message_catalogs.h"
#include "queries/query_library.h"

#include <array>
#include <cerrno>
#include <cstdio>
#include <iterator>
#include <memory>
#include <system_error>
#include <utility>

namespace lanefeed_runtime {
namespace {

// Zero, or why the file could not be read to its end. A directory opens and fails at the first
// read.
int readFile(const std::string& name, std::string& text) {
    errno = 0;
    const std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(std::fopen(name.c_str(), "rb"),
                                                               &std::fclose);
    std::array<char, 4096> part{};
    while (file != nullptr) {
        const std::size_t size = std::fread(part.data(), 1, part.size(), file.get());
        text.append(part.data(), size);
        if (size < part.size()) break;
    }
    return errno;
}

bool readDocument(const std::string& file, DefinitionText& document, OpenOutcome& outcome) {
    document.source = file;
    const int error = readFile(file, document.text);
    if (error == 0) return true;
    outcome.kind = OpenOutcome::failed;
    outcome.text = "cannot read query definitions from " + file + ": " +
                   std::error_code(error, std::generic_category()).message() +
                   "; check the name and the permission";
    return false;
}

}  // namespace

bool readDefinitionFiles(const std::vector<std::string>& files,
                         std::vector<DefinitionText>& documents,
                         OpenOutcome& outcome) {
    documents = shippedDefinitions();
    for (const std::string& file : files) {
        documents.emplace_back();
        if (!readDocument(file, documents.back(), outcome)) return false;
    }
    return true;
}

void takeErrors(std::vector<std::string> errors, OpenOutcome& outcome) {
    if (errors.empty()) return;
    outcome.kind = OpenOutcome::notUnderstood;
    outcome.text = std::move(errors.front());
    outcome.more.assign(std::make_move_iterator(errors.begin() + 1),
                        std::make_move_iterator(errors.end()));
}

std::vector<QueryListing> listQueries(const OpenOptions& options, OpenOutcome& outcome) {
    outcome = OpenOutcome();
    std::vector<DefinitionText> documents;
    if (!readDefinitionFiles(options.queryFiles, documents, outcome)) return {};
    std::vector<std::string> errors;
    std::vector<QueryListing> listings = listQueries(documents, errors);
    takeErrors(std::move(errors), outcome);
    if (!outcome.isOpened()) listings.clear();
    if (options.installMessages) installShippedCatalogs();
    return listings;
}

basekit2::sptr_t<dataface_1::IQueryLibrary> openLibrary(const OpenOptions& options,
                                                        OpenOutcome& outcome) {
    outcome = OpenOutcome();
    std::vector<DefinitionText> documents;
    if (!readDefinitionFiles(options.queryFiles, documents, outcome)) return {};
    std::vector<std::string> errors;
    basekit2::sptr_t<dataface_1::IQueryLibrary> library = loadQueryLibrary(documents, {}, errors);
    takeErrors(std::move(errors), outcome);
    if (!outcome.isOpened()) return {};
    if (options.installMessages) installShippedCatalogs();
    return library;
}

}  // namespace lanefeed_runtime
