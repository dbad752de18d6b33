#pragma once
// ActivityStoreTotals: the aggregation's arithmetic over flat arrays.
//
// Built from the node list sorted by level (the query side's cache, and
// dropped with it), it keeps each node's parent and level by index and an
// index by primary key, so a row of the aggregation's query costs one array
// look-up and one addition. A pass touches only the nodes that received
// seconds and their ancestors: their sums go up level by level (a counting
// sort by level, deepest first), and only nodes whose total changed, or that
// had one from the last pass and have none now, are written (a copy of the
// totals is compared, so the other nodes' objects are not even read). When
// the last pass reached more than a sixteenth of the nodes, the sums run over
// the whole arrays in order instead (no node objects are touched either way).
//
// Usage: begin(), add...() for every matching row and live event, finish().
// Built from a shape instead (the saved tree as flat arrays, no node objects),
// it keeps the totals in its arrays only: total(index) reads them.
// Main thread only.

#include <QtGlobal>
#include <unordered_map>
#include <vector>

class TRASPathComponent;

class ActivityStoreTotals final {
public:
    // The saved tree by index: each node's key, its parent's index (-1:
    // none) and its level. REQUIRES: sorted by level.
    struct Shape final {
        std::vector<qint64> keys;
        std::vector<int> parents;
        std::vector<int> levels;
    };

    // REQUIRES: nodes sorted by level; every node's parent is in the list
    // or absent. The nodes' current totals may be anything.
    explicit ActivityStoreTotals(const std::vector<TRASPathComponent*>& nodes);
    // Every total starts at zero. REQUIRES: every key saved (> 0).
    explicit ActivityStoreTotals(const Shape& shape);

    void begin();
    // A saved row's seconds for the node with that key (unknown keys, such
    // as a node deleted here, are ignored).
    void addForKey(qint64 key, double seconds) {
        if (key > 0 && quint64(key) < m_indexOfKey.size()) {
            const int index = m_indexOfKey[size_t(key)];
            if (index >= 0) add(index, seconds);
        } else if (!m_sparseKeys.empty()) {
            addForSparseKey(key, seconds);
        }
    }
    void addForNode(TRASPathComponent* node, double seconds);
    // Sums upwards and sets every total that changed; returns how many did.
    // Built from a shape, nodes is empty: the totals stay in the arrays.
    int finish(const std::vector<TRASPathComponent*>& nodes);
    // The total of the node at index as the last pass left it.
    double total(size_t index) const { return m_current[index]; }

private:
    void add(int index, double seconds) {
        if (m_dense) {
            m_sum[size_t(index)] += seconds;
            return;
        }
        if (!m_seen[size_t(index)]) {
            m_seen[size_t(index)] = 1;
            m_touched.push_back(index);
        }
        m_sum[size_t(index)] += seconds;
    }
    void build(const Shape& shape);
    void adoptNewKeys();
    void addForSparseKey(qint64 key, double seconds);
    void sumUpwards();
    int finishDense(const std::vector<TRASPathComponent*>& nodes);

    std::vector<int> m_parent;  // -1: none
    std::vector<int> m_level;
    std::vector<int> m_indexOfKey;                          // -1: not a node here
    std::unordered_map<qint64, int> m_sparseKeys;           // keys far beyond the node count
    std::unordered_map<TRASPathComponent*, int> m_unsaved;  // nodes without a key yet
    std::vector<double> m_sum;
    std::vector<char> m_seen;
    std::vector<int> m_touched;
    // The nodes' totals as last set (only the aggregation sets them); how
    // many nodes the last pass reached, and which (kept only when few).
    std::vector<double> m_current;
    size_t m_lastReached = 0;
    std::vector<int> m_lastTouched;
    std::vector<std::vector<int>> m_byLevel;
    // A pass that reached many nodes last time sums over the whole arrays in
    // order, which is cheaper then than keeping track of each node reached.
    bool m_dense = false;
    bool m_sumsLeft = false;  // a whole-array pass leaves its sums behind
};
