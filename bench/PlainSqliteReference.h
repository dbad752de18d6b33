#pragma once
// The reference for the store benchmarks: the same work written directly on
// the sqlite3 C API, with no Qt and no object context, on the store's own
// schema, PRAGMAs and data. What the store costs beyond this is its own.
//
// - Tree: every node's key, parent and level in flat arrays, sorted by level
//   with a counting sort; a sum is one query into an array indexed by key and
//   one bottom-up pass over the arrays.
// - Recorder: a minute of use as a plain program would write it, keeping the
//   keys it needs in memory (node by path, hour row by node and hour) and
//   writing the same rows in one BEGIN IMMEDIATE ... COMMIT.

#include <sqlite3.h>

#include <cmath>
#include <cstdint>
#include <map>
#include <string>
#include <unordered_map>
#include <vector>

namespace plain {

class Db {
public:
    explicit Db(const std::string& path) {
        sqlite3_open_v2(path.c_str(), &m_db, SQLITE_OPEN_READWRITE | SQLITE_OPEN_NOMUTEX, nullptr);
        sqlite3_busy_timeout(m_db, 5000);
        sqlite3_exec(m_db, "PRAGMA journal_mode=WAL; PRAGMA synchronous=NORMAL;", nullptr, nullptr,
                     nullptr);
    }
    ~Db() {
        for (auto& entry : m_statements) sqlite3_finalize(entry.second);
        sqlite3_close_v2(m_db);
    }
    Db(const Db&) = delete;
    Db& operator=(const Db&) = delete;
    // A statement prepared once and reset before each use.
    sqlite3_stmt* statement(const char* sql) {
        sqlite3_stmt*& stmt = m_statements[sql];
        if (!stmt)
            sqlite3_prepare_v3(m_db, sql, -1, SQLITE_PREPARE_PERSISTENT, &stmt, nullptr);
        else
            sqlite3_reset(stmt);
        return stmt;
    }
    void run(const char* sql) {
        sqlite3_stmt* stmt = statement(sql);
        while (sqlite3_step(stmt) == SQLITE_ROW) {
        }
    }
    sqlite3* handle() const { return m_db; }

private:
    sqlite3* m_db = nullptr;
    std::map<std::string, sqlite3_stmt*> m_statements;
};

// The seconds of the hours that begin in [start, stop), NaN bounds open.
inline sqlite3_stmt* rangeQuery(Db& db, const char* columns, double start, double stop) {
    std::string sql = std::string("SELECT ") + columns + " FROM HourlyEvent WHERE 1";
    if (!std::isnan(start)) sql += " AND startDate >= ?1";
    if (!std::isnan(stop)) sql += " AND startDate < ?2";
    sqlite3_stmt* stmt = db.statement(sql.c_str());
    if (!std::isnan(start)) sqlite3_bind_double(stmt, 1, start);
    if (!std::isnan(stop)) sqlite3_bind_double(stmt, 2, stop);
    return stmt;
}

inline double sumOfDurations(Db& db, double start, double stop) {
    sqlite3_stmt* stmt = rangeQuery(db, "TOTAL(duration)", start, stop);
    return sqlite3_step(stmt) == SQLITE_ROW ? sqlite3_column_double(stmt, 0) : 0.0;
}

struct Tree {
    std::vector<int> parent;  // index, -1 for a root
    std::vector<int> level;
    std::vector<int> indexOfKey;
    std::vector<double> total;

    void load(Db& db) {
        std::vector<int64_t> keys, parents;
        std::vector<int> levels;
        sqlite3_stmt* stmt = db.statement("SELECT id, pathParent, pathLevel FROM PathComponent");
        while (sqlite3_step(stmt) == SQLITE_ROW) {
            keys.push_back(sqlite3_column_int64(stmt, 0));
            parents.push_back(sqlite3_column_int64(stmt, 1));
            levels.push_back(sqlite3_column_int(stmt, 2));
        }
        // Counting sort by level: parents come before their children.
        int maxLevel = 0;
        for (int l : levels) maxLevel = std::max(maxLevel, l);
        std::vector<int> start(size_t(maxLevel) + 2, 0);
        for (int l : levels) ++start[size_t(l) + 1];
        for (size_t l = 1; l < start.size(); ++l) start[l] += start[l - 1];
        std::vector<size_t> order(keys.size());
        for (size_t i = 0; i < keys.size(); ++i) order[size_t(start[size_t(levels[i])]++)] = i;
        int64_t maxKey = 0;
        for (int64_t k : keys) maxKey = std::max(maxKey, k);
        indexOfKey.assign(size_t(maxKey) + 1, -1);
        for (size_t i = 0; i < order.size(); ++i) indexOfKey[size_t(keys[order[i]])] = int(i);
        parent.resize(keys.size());
        level.resize(keys.size());
        for (size_t i = 0; i < order.size(); ++i) {
            const int64_t p = parents[order[i]];
            parent[i] = p > 0 && p <= maxKey ? indexOfKey[size_t(p)] : -1;
            level[i] = levels[order[i]];
        }
        total.assign(keys.size(), 0.0);
    }

    // Every node's total within [start, stop); returns the sum of the roots.
    double aggregate(Db& db, double start, double stop) {
        std::fill(total.begin(), total.end(), 0.0);
        sqlite3_stmt* stmt = rangeQuery(db, "lastPathComponent, duration", start, stop);
        while (sqlite3_step(stmt) == SQLITE_ROW) {
            const int64_t key = sqlite3_column_int64(stmt, 0);
            if (key > 0 && size_t(key) < indexOfKey.size() && indexOfKey[size_t(key)] >= 0)
                total[size_t(indexOfKey[size_t(key)])] += sqlite3_column_double(stmt, 1);
        }
        double roots = 0;
        for (size_t i = total.size(); i-- > 0;) {
            if (parent[i] >= 0)
                total[size_t(parent[i])] += total[i];
            else
                roots += total[i];
        }
        return roots;
    }
};

// Recording: hours are clock hours of UTC here, as in the benchmarks.
class Recorder {
public:
    explicit Recorder(Db& db) : m_db(db) {}

    // Adds [start, stop) under the application's root and the components.
    void record(const std::string& bundleIdentifier, const std::vector<std::string>& components,
                double start, double stop) {
        int64_t node = root(bundleIdentifier);
        std::vector<int64_t> chain{node};
        std::string path = bundleIdentifier;
        for (size_t i = 0; i < components.size(); ++i) {
            path += '\t';
            path += components[i];
            node = child(path, node, components[i], int(i + 1));
            chain.push_back(node);
        }
        for (auto it = chain.rbegin(); it != chain.rend(); ++it) {
            if (!widen(*it, start, stop)) break;
        }
        for (double t = start; t < stop || t == start;) {
            const double hour = std::floor(t / 3600.0) * 3600.0;
            const double end = std::min(stop, hour + 3600.0);
            addToHour(node, hour, end - t);
            if (end >= stop) break;
            t = end;
        }
    }
    void begin() { m_db.run("BEGIN IMMEDIATE"); }
    void commit() { m_db.run("COMMIT"); }

private:
    struct Bounds {
        double start = NAN;
        double stop = NAN;
    };
    struct Hour {
        int64_t key;
        double seconds;
    };

    int64_t insertNode(const char* value, int level, int64_t application, int64_t parent) {
        sqlite3_stmt* stmt = m_db.statement(
            "INSERT INTO PathComponent(value, pathLevel, application, pathParent) "
            "VALUES(?1, ?2, ?3, ?4)");
        if (value) sqlite3_bind_text(stmt, 1, value, -1, SQLITE_STATIC);
        sqlite3_bind_int(stmt, 2, level);
        if (application) sqlite3_bind_int64(stmt, 3, application);
        if (parent) sqlite3_bind_int64(stmt, 4, parent);
        sqlite3_step(stmt);
        return sqlite3_last_insert_rowid(m_db.handle());
    }
    int64_t root(const std::string& bundleIdentifier) {
        auto found = m_nodes.find(bundleIdentifier);
        if (found != m_nodes.end()) return found->second;
        sqlite3_stmt* app = m_db.statement("INSERT INTO Application(bundleIdentifier) VALUES(?1)");
        sqlite3_bind_text(app, 1, bundleIdentifier.c_str(), -1, SQLITE_STATIC);
        sqlite3_step(app);
        const int64_t application = sqlite3_last_insert_rowid(m_db.handle());
        const int64_t node = insertNode(nullptr, 0, application, 0);
        sqlite3_stmt* link = m_db.statement("UPDATE Application SET pathRoot = ?2 WHERE id = ?1");
        sqlite3_bind_int64(link, 1, application);
        sqlite3_bind_int64(link, 2, node);
        sqlite3_step(link);
        return m_nodes[bundleIdentifier] = node;
    }
    int64_t child(const std::string& path, int64_t parent, const std::string& value, int level) {
        auto found = m_nodes.find(path);
        if (found != m_nodes.end()) return found->second;
        return m_nodes[path] = insertNode(value.c_str(), level, 0, parent);
    }
    // Widens the node's bounds; false when they already held the interval.
    bool widen(int64_t node, double start, double stop) {
        Bounds& b = m_bounds[node];
        const bool moveStart = std::isnan(b.start) || start < b.start;
        const bool moveStop = std::isnan(b.stop) || stop > b.stop;
        if (!moveStart && !moveStop) return false;
        if (moveStart) b.start = start;
        if (moveStop) b.stop = stop;
        sqlite3_stmt* stmt = m_db.statement(
            "UPDATE PathComponent SET startDateOfChildren = ?2, stopDateOfChildren = ?3 "
            "WHERE id = ?1");
        sqlite3_bind_int64(stmt, 1, node);
        sqlite3_bind_double(stmt, 2, b.start);
        sqlite3_bind_double(stmt, 3, b.stop);
        sqlite3_step(stmt);
        return true;
    }
    void addToHour(int64_t node, double hour, double seconds) {
        auto found = m_hours.find({node, hour});
        if (found == m_hours.end()) {
            sqlite3_stmt* stmt = m_db.statement(
                "INSERT INTO HourlyEvent(startDate, duration, lastPathComponent) "
                "VALUES(?1, ?2, ?3)");
            sqlite3_bind_double(stmt, 1, hour);
            sqlite3_bind_double(stmt, 2, seconds);
            sqlite3_bind_int64(stmt, 3, node);
            sqlite3_step(stmt);
            m_hours[{node, hour}] = Hour{sqlite3_last_insert_rowid(m_db.handle()), seconds};
            return;
        }
        found->second.seconds += seconds;
        sqlite3_stmt* stmt = m_db.statement("UPDATE HourlyEvent SET duration = ?2 WHERE id = ?1");
        sqlite3_bind_int64(stmt, 1, found->second.key);
        sqlite3_bind_double(stmt, 2, found->second.seconds);
        sqlite3_step(stmt);
    }

    Db& m_db;
    std::unordered_map<std::string, int64_t> m_nodes;  // by bundle id and components
    std::unordered_map<int64_t, Bounds> m_bounds;
    std::map<std::pair<int64_t, double>, Hour> m_hours;
};

}  // namespace plain
