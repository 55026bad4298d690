#include "LegTree.h"

#include <algorithm>
#include <cmath>
#include <numeric>

namespace KTR {

namespace {

PointXY EndOf(const ProfileLeg& leg) {
    return {leg.from.x + leg.length * leg.direction.x, leg.from.y + leg.length * leg.direction.y};
}

double MiddleOf(const ProfileLeg& leg, bool alongX) {
    return alongX ? leg.from.x + 0.5 * leg.length * leg.direction.x : leg.from.y + 0.5 * leg.length * leg.direction.y;
}

} // namespace

void LegTree::Build(const std::vector<ProfileLeg>& legs) {
    m_nodes.clear();
    m_leaves.clear();
    m_legCount = legs.size();
    double largest = 0.0;
    for (const ProfileLeg& leg : legs) {
        largest = std::max({largest, std::abs(leg.from.x), std::abs(leg.from.y), leg.length});
    }
    m_slack = largest * 1e-12;
    std::vector<std::size_t> numbers(legs.size());
    std::iota(numbers.begin(), numbers.end(), std::size_t{0});
    if (!numbers.empty()) {
        AddNode(legs, numbers.data(), numbers.size());
    }
}

/// Adds the node of some legs with all that is below it, halving them across the longer side of where they lie.
std::size_t LegTree::AddNode(const std::vector<ProfileLeg>& legs, std::size_t* numbers, std::size_t count) {
    Node node;
    node.low = node.high = legs[numbers[0]].from;
    for (std::size_t index = 0; index < count; ++index) {
        for (const PointXY& point : {legs[numbers[index]].from, EndOf(legs[numbers[index]])}) {
            node.low = {std::min(node.low.x, point.x), std::min(node.low.y, point.y)};
            node.high = {std::max(node.high.x, point.x), std::max(node.high.y, point.y)};
        }
    }
    const bool alongX = node.high.x - node.low.x >= node.high.y - node.low.y;
    node.low = {node.low.x - m_slack, node.low.y - m_slack};
    node.high = {node.high.x + m_slack, node.high.y + m_slack};
    const std::size_t place = m_nodes.size();
    m_nodes.push_back(node);
    if (count <= kLegsInLeaf) {
        std::sort(numbers, numbers + count);
        Leaf& leaf = m_leaves.emplace_back();
        for (std::size_t slot = 0; slot < kLegsInLeaf; ++slot) {
            const std::size_t number = numbers[std::min(slot, count - 1)];
            const ProfileLeg& leg = legs[number];
            leaf.fromX[slot] = leg.from.x;
            leaf.fromY[slot] = leg.from.y;
            leaf.directionX[slot] = leg.direction.x;
            leaf.directionY[slot] = leg.direction.y;
            leaf.length[slot] = leg.length;
            leaf.number[slot] = static_cast<unsigned int>(number);
        }
        m_nodes[place].leaf = m_leaves.size() - 1;
        return place;
    }
    const std::size_t half = count / 2;
    std::nth_element(numbers, numbers + half, numbers + count, [&](std::size_t left, std::size_t right) {
        return MiddleOf(legs[left], alongX) < MiddleOf(legs[right], alongX);
    });
    AddNode(legs, numbers, half);
    const std::size_t right = AddNode(legs, numbers + half, count - half);
    m_nodes[place].right = right;
    return place;
}

double LegTree::SquaredDistance(const Node& node, double x, double y) {
    const double awayX = std::max({node.low.x - x, x - node.high.x, 0.0});
    const double awayY = std::max({node.low.y - y, y - node.high.y, 0.0});
    return awayX * awayX + awayY * awayY;
}

void LegTree::TryLeaf(const Leaf& leaf, Search& search) const {
    // FootOn, so that the compiler takes several legs at a time.
    std::array<double, kLegsInLeaf> distances;
    std::array<double, kLegsInLeaf> feet;
    for (std::size_t slot = 0; slot < kLegsInLeaf; ++slot) {
        const double dx = search.x - leaf.fromX[slot];
        const double dy = search.y - leaf.fromY[slot];
        const double foot = dx * leaf.directionX[slot] + dy * leaf.directionY[slot];
        const double ahead = foot < 0.0 ? 0.0 : foot;
        const double along = ahead < leaf.length[slot] ? ahead : leaf.length[slot];
        const double awayX = dx - along * leaf.directionX[slot];
        const double awayY = dy - along * leaf.directionY[slot];
        distances[slot] = awayX * awayX + awayY * awayY;
        feet[slot] = foot;
    }
    for (std::size_t slot = 0; slot < kLegsInLeaf; ++slot) {
        if (distances[slot] > search.nearest) {
            continue;
        }
        const std::size_t number = leaf.number[slot];
        const bool isFirst = search.number < 0 || number < static_cast<std::size_t>(search.number);
        if ((distances[slot] < search.nearest || isFirst) &&
            !IsBeyondLine(feet[slot], leaf.length[slot], number, m_legCount)) {
            search.nearest = distances[slot];
            search.number = static_cast<std::ptrdiff_t>(number);
            search.foot = feet[slot];
        }
    }
}

std::ptrdiff_t LegTree::Find(double x, double y, double most, LegFoot& found) const {
    struct Waiting {
        std::size_t node;
        double distance;
    };
    if (m_nodes.empty()) {
        return -1;
    }
    Search search{x, y, most * most};
    // A half waits at each level, and halves of what memory holds are far fewer levels.
    std::array<Waiting, 64> waiting;
    std::size_t count = 0;
    waiting[count++] = {0, SquaredDistance(m_nodes[0], x, y)};
    while (count > 0) {
        const Waiting next = waiting[--count];
        if (next.distance > search.nearest) {
            continue;
        }
        const Node& node = m_nodes[next.node];
        if (node.right == 0) {
            TryLeaf(m_leaves[node.leaf], search);
            continue;
        }
        Waiting nearer{next.node + 1, SquaredDistance(m_nodes[next.node + 1], x, y)};
        Waiting farther{node.right, SquaredDistance(m_nodes[node.right], x, y)};
        if (farther.distance < nearer.distance) {
            std::swap(nearer, farther);
        }
        waiting[count++] = farther;
        waiting[count++] = nearer;
    }
    if (search.number >= 0) {
        found.foot = search.foot;
        found.distanceSquared = search.nearest;
    }
    return search.number;
}

} // namespace KTR
