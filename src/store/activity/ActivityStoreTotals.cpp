#include "store/activity/ActivityStoreTotals.h"

#include <algorithm>

#include "store/activity/TRASPathComponent.h"

ActivityStoreTotals::ActivityStoreTotals(const std::vector<TRASPathComponent*>& nodes) {
    const size_t count = nodes.size();
    std::unordered_map<TRASPathComponent*, int> indexOfNode;
    indexOfNode.reserve(count);
    for (size_t i = 0; i < count; ++i) indexOfNode.emplace(nodes[i], int(i));
    Shape shape;
    shape.keys.resize(count);
    shape.parents.resize(count, -1);
    shape.levels.resize(count);
    for (size_t i = 0; i < count; ++i) {
        shape.keys[i] = nodes[i]->primaryKey();
        if (shape.keys[i] <= 0) m_unsaved.emplace(nodes[i], int(i));
        shape.levels[i] = nodes[i]->pathLevelValue();
        auto parent = indexOfNode.find(nodes[i]->pathParent());
        if (parent != indexOfNode.end()) shape.parents[i] = parent->second;
    }
    build(shape);
    for (size_t i = 0; i < count; ++i) {
        m_current[i] = nodes[i]->totalDurationWithFilterValue();
        if (m_current[i] != 0.0) m_lastTouched.push_back(int(i));
    }
    m_lastReached = m_lastTouched.size();
}

ActivityStoreTotals::ActivityStoreTotals(const Shape& shape) {
    build(shape);
}

void ActivityStoreTotals::build(const Shape& shape) {
    const size_t count = shape.keys.size();
    qint64 maxKey = 0;
    for (qint64 key : shape.keys) maxKey = std::max(maxKey, key);
    // Keys are handed out in order and never reused, so the array stays
    // near the node count; a file with far larger keys looks them up by map.
    const bool dense = maxKey <= qint64(4 * count + 65536);
    m_indexOfKey.assign(dense ? size_t(maxKey) + 1 : 0, -1);
    for (size_t i = 0; i < count; ++i) {
        const qint64 key = shape.keys[i];
        if (key <= 0) continue;
        if (dense)
            m_indexOfKey[size_t(key)] = int(i);
        else
            m_sparseKeys.emplace(key, int(i));
    }
    m_parent = shape.parents;
    m_level.resize(count, 0);
    int maxLevel = 0;
    for (size_t i = 0; i < count; ++i) {
        m_level[i] = std::max<int>(shape.levels[i], 0);
        maxLevel = std::max(maxLevel, m_level[i]);
    }
    // A parent not above its child (only in hand-made data) gets nothing
    // from it: the sums go up in level order.
    for (size_t i = 0; i < count; ++i) {
        if (m_parent[i] >= 0 && m_level[size_t(m_parent[i])] >= m_level[i]) m_parent[i] = -1;
    }
    m_sum.assign(count, 0.0);
    m_seen.assign(count, 0);
    m_byLevel.resize(size_t(maxLevel) + 1);
    m_current.assign(count, 0.0);
}

// Nodes that were new when the arrays were built get their keys at a save
// (which drops no cache); from then on their rows arrive by key.
void ActivityStoreTotals::adoptNewKeys() {
    for (auto it = m_unsaved.begin(); it != m_unsaved.end();) {
        const qint64 key = it->first->primaryKey();
        if (key <= 0) {
            ++it;
            continue;
        }
        if (m_sparseKeys.empty() && key <= qint64(4 * m_parent.size() + 65536)) {
            if (size_t(key) >= m_indexOfKey.size()) m_indexOfKey.resize(size_t(key) + 1, -1);
            m_indexOfKey[size_t(key)] = it->second;
        } else {
            m_sparseKeys.emplace(key, it->second);
        }
        it = m_unsaved.erase(it);
    }
}

void ActivityStoreTotals::begin() {
    adoptNewKeys();
    for (int index : m_touched) {
        m_seen[size_t(index)] = 0;
        m_sum[size_t(index)] = 0.0;
    }
    m_touched.clear();
    m_dense = m_lastReached * 16 > m_sum.size();
    if (m_dense || m_sumsLeft) std::fill(m_sum.begin(), m_sum.end(), 0.0);
    m_sumsLeft = false;
}

void ActivityStoreTotals::addForSparseKey(qint64 key, double seconds) {
    auto found = m_sparseKeys.find(key);
    if (found != m_sparseKeys.end()) add(found->second, seconds);
}

void ActivityStoreTotals::addForNode(TRASPathComponent* node, double seconds) {
    if (node->primaryKey() > 0) {
        addForKey(node->primaryKey(), seconds);
        return;
    }
    auto found = m_unsaved.find(node);
    if (found != m_unsaved.end()) add(found->second, seconds);
}

// Deepest level first, so a node is complete before it is added upward; a
// parent reached for the first time joins its own level's bucket.
void ActivityStoreTotals::sumUpwards() {
    for (auto& bucket : m_byLevel) bucket.clear();
    for (int index : m_touched) m_byLevel[size_t(m_level[size_t(index)])].push_back(index);
    for (size_t level = m_byLevel.size(); level-- > 0;) {
        std::vector<int>& bucket = m_byLevel[level];
        for (size_t i = 0; i < bucket.size(); ++i) {
            const int index = bucket[i];
            const int parent = m_parent[size_t(index)];
            if (parent < 0) continue;
            if (!m_seen[size_t(parent)]) {
                m_seen[size_t(parent)] = 1;
                m_touched.push_back(parent);
                m_byLevel[size_t(m_level[size_t(parent)])].push_back(parent);
            }
            m_sum[size_t(parent)] += m_sum[size_t(index)];
        }
    }
}

// The nodes are sorted by level, so from the last index back each node is
// complete before it is added to its parent.
int ActivityStoreTotals::finishDense(const std::vector<TRASPathComponent*>& nodes) {
    for (size_t i = m_sum.size(); i-- > 0;) {
        const int parent = m_parent[i];
        if (parent >= 0) m_sum[size_t(parent)] += m_sum[i];
    }
    int changed = 0;
    size_t nonZero = 0;
    for (size_t i = 0; i < m_sum.size(); ++i) {
        const double total = m_sum[i];
        nonZero += total != 0.0;
        if (m_current[i] == total) continue;
        m_current[i] = total;
        if (!nodes.empty()) nodes[i]->setTotalDurationWithFilterValue(total);
        ++changed;
    }
    // The list of nodes with a total is needed only when the next pass
    // keeps track of the nodes it reaches.
    m_lastReached = nonZero;
    m_lastTouched.clear();
    if (nonZero * 16 <= m_sum.size()) {
        for (size_t i = 0; i < m_sum.size(); ++i)
            if (m_sum[i] != 0.0) m_lastTouched.push_back(int(i));
    }
    m_sumsLeft = true;
    return changed;
}

int ActivityStoreTotals::finish(const std::vector<TRASPathComponent*>& nodes) {
    if (m_dense) return finishDense(nodes);
    sumUpwards();
    // Compared with the copy of the totals, so an unchanged node's object
    // is not even read.
    int changed = 0;
    const auto set = [&](int index, double total) {
        double& current = m_current[size_t(index)];
        if (current == total) return;
        current = total;
        if (!nodes.empty()) nodes[size_t(index)]->setTotalDurationWithFilterValue(total);
        ++changed;
    };
    for (int index : m_lastTouched) {
        if (!m_seen[size_t(index)]) set(index, 0.0);
    }
    for (int index : m_touched) set(index, m_sum[size_t(index)]);
    m_lastTouched = m_touched;
    m_lastReached = m_touched.size();
    return changed;
}
