// Hopcroft-Karp maximum matching on the finite elements, with the short side of the matrix as the left
// vertices: breadth-first layering from the free left vertices, then vertex-disjoint shortest augmenting
// paths found by an explicit-stack depth-first search (no recursion, whatever the size).
#include "CompleteMatching.h"

#include <cmath>
#include <cstddef>
#include <limits>

namespace Kestrel::assignment {
namespace {

// Left vertex a may be matched to the right vertices neighbour[start[a] .. start[a + 1]).
struct BipartiteGraph {
    int nLeft = 0;
    int nRight = 0;
    std::vector<std::size_t> start;
    std::vector<int> neighbour;
};

BipartiteGraph finiteElementGraph(std::vector<std::vector<double>> const& rowMajor, MatrixShape shape) {
    bool const wide = shape.rows <= shape.columns;
    BipartiteGraph graph;
    graph.nLeft = wide ? shape.rows : shape.columns;
    graph.nRight = wide ? shape.columns : shape.rows;
    graph.start.assign(static_cast<std::size_t>(graph.nLeft) + 1, 0);
    for (int row = 0; row < shape.rows; ++row) {
        for (int col = 0; col < shape.columns; ++col) {
            if (std::isfinite(rowMajor[row][col])) {
                ++graph.start[static_cast<std::size_t>(wide ? row : col) + 1];
            }
        }
    }
    for (int left = 0; left < graph.nLeft; ++left) {
        graph.start[left + 1] += graph.start[left];
    }
    graph.neighbour.resize(graph.start[graph.nLeft]);
    std::vector<std::size_t> fill(graph.start.begin(), graph.start.end() - 1);
    for (int row = 0; row < shape.rows; ++row) {
        for (int col = 0; col < shape.columns; ++col) {
            if (std::isfinite(rowMajor[row][col])) {
                int const left = wide ? row : col;
                graph.neighbour[fill[left]++] = wide ? col : row;
            }
        }
    }
    return graph;
}

class HopcroftKarp {
  public:
    explicit HopcroftKarp(BipartiteGraph const& graph)
        : graph_(graph),
          matchOfLeft_(graph.nLeft, -1),
          matchOfRight_(graph.nRight, -1),
          layer_(graph.nLeft),
          next_(graph.nLeft) {}

    int maximumMatchingSize() {
        int size = matchGreedily();
        while (size < graph_.nLeft && layerFromFreeVertices()) {
            for (int left = 0; left < graph_.nLeft; ++left) {
                if (matchOfLeft_[left] < 0 && augmentFrom(left)) {
                    ++size;
                }
            }
        }
        return size;
    }

  private:
    static constexpr int kUnreached = std::numeric_limits<int>::max();

    int matchGreedily() {
        int size = 0;
        for (int left = 0; left < graph_.nLeft; ++left) {
            for (std::size_t arc = graph_.start[left]; arc < graph_.start[left + 1]; ++arc) {
                int const right = graph_.neighbour[arc];
                if (matchOfRight_[right] < 0) {
                    matchOfRight_[right] = left;
                    matchOfLeft_[left] = right;
                    ++size;
                    break;
                }
            }
        }
        return size;
    }

    // Layers the left vertices by their alternating distance from the free ones; true when some free right
    // vertex can be reached (an augmenting path exists).
    bool layerFromFreeVertices() {
        std::vector<int> queue;
        queue.reserve(graph_.nLeft);
        for (int left = 0; left < graph_.nLeft; ++left) {
            layer_[left] = matchOfLeft_[left] < 0 ? 0 : kUnreached;
            if (layer_[left] == 0) {
                queue.push_back(left);
            }
        }
        bool freeRightReached = false;
        for (std::size_t head = 0; head < queue.size(); ++head) {
            int const left = queue[head];
            for (std::size_t arc = graph_.start[left]; arc < graph_.start[left + 1]; ++arc) {
                int const holder = matchOfRight_[graph_.neighbour[arc]];
                if (holder < 0) {
                    freeRightReached = true;
                } else if (layer_[holder] == kUnreached) {
                    layer_[holder] = layer_[left] + 1;
                    queue.push_back(holder);
                }
            }
        }
        for (int left = 0; left < graph_.nLeft; ++left) {
            next_[left] = graph_.start[left];
        }
        return freeRightReached;
    }

    // Depth-first search along the layers from a free left vertex; flips the path when it ends at a free
    // right vertex. Dead ends leave the layering so that later searches skip them.
    bool augmentFrom(int root) {
        std::vector<int>& path = path_;
        path.assign(1, root);
        while (!path.empty()) {
            int const left = path.back();
            if (next_[left] == graph_.start[left + 1]) {
                layer_[left] = kUnreached;
                path.pop_back();
                continue;
            }
            int const right = graph_.neighbour[next_[left]++];
            int const holder = matchOfRight_[right];
            if (holder < 0) {
                for (int const onPath : path) {
                    int const taken = graph_.neighbour[next_[onPath] - 1];
                    matchOfLeft_[onPath] = taken;
                    matchOfRight_[taken] = onPath;
                }
                return true;
            }
            if (layer_[holder] == layer_[left] + 1) {
                path.push_back(holder);
            }
        }
        return false;
    }

    BipartiteGraph const& graph_;
    std::vector<int> matchOfLeft_;
    std::vector<int> matchOfRight_;
    std::vector<int> layer_;
    std::vector<std::size_t> next_;
    std::vector<int> path_;
};

}  // namespace

bool hasCompleteMatching(std::vector<std::vector<double>> const& rowMajor, MatrixShape shape) {
    BipartiteGraph const graph = finiteElementGraph(rowMajor, shape);
    return HopcroftKarp(graph).maximumMatchingSize() == graph.nLeft;
}

}  // namespace Kestrel::assignment
