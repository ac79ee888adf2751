#pragma once

#include <memory>

namespace lanefeed_1 {

// Where a row stands in the database: level from 0 at the top, database index within it.
struct LevelIndexPair {
    int level = 0;
    int dbIndex = -1;

    friend bool operator<(const LevelIndexPair& a, const LevelIndexPair& b) {
        return a.level != b.level ? a.level < b.level : a.dbIndex < b.dbIndex;
    }
};

// Both ways between database places and summary ids. A place may belong to several rows, of which
// the first entered is found; an id belongs to one place.
class RowIndex {
public:
    static constexpr int kNoRow = -1;

    RowIndex();
    ~RowIndex();
    RowIndex(const RowIndex&) = delete;
    RowIndex& operator=(const RowIndex&) = delete;

    void insert(LevelIndexPair place, int summaryId);
    // kNoRow for an unknown place.
    int findId(LevelIndexPair place) const;
    // -1 for an unknown id.
    int findDbIndex(int summaryId) const;
    // 0 for an empty index.
    int maxLevel() const;

private:
    struct Entries;

    std::unique_ptr<Entries> m_entries;
};

}  // namespace lanefeed_1
