#include "input/HelpExamples.h"

namespace ktx::examples {

char const* const group = R"({
  "closed": false,
  "measure": "minmax",
  "values":  [0.42, 0.44, 0.43, 0.71, 0.74, 0.70, 0.72, 0.31, 0.30, 0.33],
  "lengths": [20, 25, 22, 30, 28, 31, 26, 24, 21, 23]
}
)";

char const* const curvature = R"({
  "closed": false,
  "points": [[0, 0], [10, 0], [20, 0], [27.07, 2.93], [30, 10], [30, 20], [30, 30]],
  "segments": [[0, 2], [2, 4], [4, 6]]
}
)";

char const* const masters = R"({
  "closed": true,
  "lengths": [40, 35, 30, 45, 50, 38, 42, 36],
  "ranges": [[0.1, 0.9], [0.1, 0.9], [0.1, 0.9], [0.1, 0.9], [0.1, 0.9], [0.1, 0.9], [0.1, 0.9], [0.1, 0.9]],
  "masters": 3,
  "masterValues": [0.3, 0.7, 0.5]
}
)";

char const* const assign = R"(4,1,3
2,0,5
3,2,2
)";

char const* const lhs = R"({
  "factors": [
    {"name": "thickness", "candidates": [0.8, 1.0, 1.2, 1.5]},
    {"name": "friction", "candidates": [0.08, 0.10, 0.12, 0.15]},
    {"name": "blank offset", "candidates": [[0, 0], [2, 0], [0, 2], [2, 2]]}
  ],
  "order": [0, 1, 2]
}
)";

char const* const sample2d = R"({
  "outer": [[0, 0], [100, 0], [100, 60], [0, 60]],
  "holes": [[[40, 20], [60, 20], [60, 40], [40, 40]]],
  "n": 12
}
)";

char const* const anneal = R"({
  "function": "schwefel",
  "dimension": 5,
  "seed": 7,
  "settings": {"evaluationBudget": 5000}
}
)";

}  // namespace ktx::examples
