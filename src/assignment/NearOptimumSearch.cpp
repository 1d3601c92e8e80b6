// Bounded Dijkstra searches over the near-tight graph: once backwards from the lines that can move to an
// unused long-side line, and once from every node of every non-trivial strongly connected component
// (only there can cycles lie). All weights are >= 0, so a search stops at `limit`.
#include "NearOptimumSearch.h"

#include <cstddef>
#include <functional>
#include <limits>
#include <queue>
#include <utility>

namespace Kestrel::assignment {
namespace {

// Beyond this many node visits in the cycle searches the proof is abandoned: the steps decide.
constexpr std::size_t kCycleSearchBudget = 20000000;

using QueueEntry = std::pair<double, int>;
using MinQueue = std::priority_queue<QueueEntry, std::vector<QueueEntry>, std::greater<QueueEntry>>;

struct ReverseArcs {
    std::vector<int> start;
    std::vector<int> tail;
    std::vector<double> weight;
};

ReverseArcs reverse(NearOptimumGraph const& graph, int nNodes) {
    ReverseArcs reversed;
    reversed.start.assign(nNodes + 1, 0);
    for (int head : graph.arcHead) {
        ++reversed.start[head + 1];
    }
    for (int node = 0; node < nNodes; ++node) {
        reversed.start[node + 1] += reversed.start[node];
    }
    reversed.tail.resize(graph.arcHead.size());
    reversed.weight.resize(graph.arcHead.size());
    std::vector<int> fill(reversed.start.begin(), reversed.start.end() - 1);
    for (int node = 0; node < nNodes; ++node) {
        for (int arc = graph.arcStart[node]; arc < graph.arcStart[node + 1]; ++arc) {
            int const at = fill[graph.arcHead[arc]]++;
            reversed.tail[at] = node;
            reversed.weight[at] = graph.arcWeight[arc];
        }
    }
    return reversed;
}

// Cheapest chain from each node to a free long-side line, below `limit`; checks it against the release.
bool chainToFreeLineWithin(NearOptimumGraph const& graph, ReverseArcs const& reversed, int nNodes,
                           double limit) {
    std::vector<double> distance(graph.freeWeight);
    MinQueue queue;
    for (int node = 0; node < nNodes; ++node) {
        if (distance[node] < limit) {
            queue.emplace(distance[node], node);
        }
    }
    while (!queue.empty()) {
        auto const [reached, node] = queue.top();
        queue.pop();
        if (reached > distance[node]) {
            continue;
        }
        if (reached + graph.releaseWeight[node] < limit) {
            return true;
        }
        for (int arc = reversed.start[node]; arc < reversed.start[node + 1]; ++arc) {
            double const next = reached + reversed.weight[arc];
            int const tail = reversed.tail[arc];
            if (next < limit && next < distance[tail]) {
                distance[tail] = next;
                queue.emplace(next, tail);
            }
        }
    }
    return false;
}

// Strongly connected components (Kosaraju, with explicit stacks): component index per node.
std::vector<int> components(NearOptimumGraph const& graph, ReverseArcs const& reversed, int nNodes) {
    std::vector<int> finished;
    finished.reserve(nNodes);
    std::vector<char> seen(nNodes, 0);
    std::vector<std::pair<int, int>> stack;  // node, next arc to follow
    for (int root = 0; root < nNodes; ++root) {
        if (seen[root]) {
            continue;
        }
        seen[root] = 1;
        stack.emplace_back(root, graph.arcStart[root]);
        while (!stack.empty()) {
            auto& [node, arc] = stack.back();
            if (arc < graph.arcStart[node + 1]) {
                int const head = graph.arcHead[arc++];
                if (!seen[head]) {
                    seen[head] = 1;
                    stack.emplace_back(head, graph.arcStart[head]);
                }
            } else {
                finished.push_back(node);
                stack.pop_back();
            }
        }
    }
    std::vector<int> component(nNodes, -1);
    std::vector<int> pending;
    int nComponents = 0;
    for (auto it = finished.rbegin(); it != finished.rend(); ++it) {
        if (component[*it] >= 0) {
            continue;
        }
        component[*it] = nComponents;
        pending.push_back(*it);
        while (!pending.empty()) {
            int const node = pending.back();
            pending.pop_back();
            for (int arc = reversed.start[node]; arc < reversed.start[node + 1]; ++arc) {
                if (component[reversed.tail[arc]] < 0) {
                    component[reversed.tail[arc]] = nComponents;
                    pending.push_back(reversed.tail[arc]);
                }
            }
        }
        ++nComponents;
    }
    return component;
}

bool cycleWithin(NearOptimumGraph const& graph, ReverseArcs const& reversed, int nNodes, double limit) {
    std::vector<int> const component = components(graph, reversed, nNodes);
    std::vector<int> size(nNodes, 0);
    for (int node = 0; node < nNodes; ++node) {
        ++size[component[node]];
    }

    double const infinity = std::numeric_limits<double>::infinity();
    std::vector<double> distance(nNodes, infinity);
    std::vector<int> touched;
    std::size_t budget = kCycleSearchBudget;
    for (int start = 0; start < nNodes; ++start) {
        int const home = component[start];
        if (size[home] < 2) {
            continue;
        }
        MinQueue queue;
        distance[start] = 0.0;
        touched.push_back(start);
        queue.emplace(0.0, start);
        while (!queue.empty()) {
            auto const [reached, node] = queue.top();
            queue.pop();
            if (reached > distance[node]) {
                continue;
            }
            if (budget-- == 0) {
                return true;
            }
            for (int arc = graph.arcStart[node]; arc < graph.arcStart[node + 1]; ++arc) {
                int const head = graph.arcHead[arc];
                if (component[head] != home) {
                    continue;
                }
                double const next = reached + graph.arcWeight[arc];
                if (head == start && next < limit) {
                    return true;
                }
                if (next < limit && next < distance[head]) {
                    if (distance[head] == infinity) {
                        touched.push_back(head);
                    }
                    distance[head] = next;
                    queue.emplace(next, head);
                }
            }
        }
        for (int node : touched) {
            distance[node] = infinity;
        }
        touched.clear();
    }
    return false;
}

}  // namespace

bool anotherAssignmentWithin(NearOptimumGraph const& graph, double limit) {
    int const nNodes = static_cast<int>(graph.freeWeight.size());
    ReverseArcs const reversed = reverse(graph, nNodes);
    return chainToFreeLineWithin(graph, reversed, nNodes, limit) ||
           cycleWithin(graph, reversed, nNodes, limit);
}

}  // namespace Kestrel::assignment
