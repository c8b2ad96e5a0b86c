/* Families of problems that exist for every number of variables. */
#include <math.h>

#include "family.h"

/* Independent problems of Rosen and Suzuki in four variables each. */
static void rosenSuzuki(int n, double* x, double* f, double* ineq) {
  *f = 0;
  for (int block = 0; block < n / 4; ++block) {
    double part;
    hs43(0, x + 4 * block, &part, 0, ineq + 3 * block);
    *f += part;
  }
}
static EVALUATION(rosenSuzuki12) {
  rosenSuzuki(12, x, f, ineq);
}
static EVALUATION(rosenSuzuki52) {
  rosenSuzuki(52, x, f, ineq);
}
static EVALUATION(rosenSuzuki92) {
  rosenSuzuki(92, x, f, ineq);
}

/* min sum i (x_i^2 + x_i^4) on the unit sphere: all but two variables vanish. */
static void sphereQuartic(int n, const double* x, double* f, double* eq) {
  *f = 0;
  eq[0] = -1;
  for (int i = 0; i < n; ++i) {
    *f += (i + 1) * (sq(x[i]) + sq(sq(x[i])));
    eq[0] += sq(x[i]);
  }
}
static EVALUATION(sphereQuartic10) {
  sphereQuartic(10, x, f, eq);
}
static EVALUATION(sphereQuartic50) {
  sphereQuartic(50, x, f, eq);
}
static EVALUATION(sphereQuartic100) {
  sphereQuartic(100, x, f, eq);
}

/* Cantilever of n hollow square segments, sizes x_i from the wall outwards, with a limit on the
 * tip deflection (the beam of five segments among the design problems, cut finer):
 *     min sum x_i,  sum w_i / x_i^3 <= 1,  w_i = ((n-i+1)^3 - (n-i)^3) / n^3.
 * Its minimiser is x_i = w_i^(1/4) (sum w_j^(1/4))^(1/3). */
static void segments(int n, const double* x, double* f, double* ineq) {
  *f = 0;
  ineq[0] = -1;
  for (int i = 0; i < n; ++i) {
    const double weight = (cube(n - i) - cube(n - i - 1)) / cube(n);
    *f += x[i];
    ineq[0] += weight / cube(x[i]);
  }
}
static EVALUATION(segments10) {
  segments(10, x, f, ineq);
}
static EVALUATION(segments50) {
  segments(50, x, f, ineq);
}
static EVALUATION(segments100) {
  segments(100, x, f, ineq);
}

/* Chain of n links, 100 long together, hung between two points of equal height at distance 70;
 * x_i is the slope angle of link i. The mean height of the links' centers is least. */
static void hangingChain(int n, const double* x, double* f, double* eq) {
  const double link = 100.0 / n;
  double height = 0, span = 0;
  *f = 0;
  for (int i = 0; i < n; ++i) {
    *f += (height + 0.5 * link * sin(x[i])) / n;
    height += link * sin(x[i]);
    span += link * cos(x[i]);
  }
  eq[0] = span - 70;
  eq[1] = height;
}
static EVALUATION(hangingChain10) {
  hangingChain(10, x, f, eq);
}
static EVALUATION(hangingChain50) {
  hangingChain(50, x, f, eq);
}

/* Chained function of Rosenbrock under n - 2 trigonometric-exponential equalities. */
static void chainedRosenbrock(int n, const double* x, double* f, double* eq) {
  *f = 0;
  for (int i = 0; i < n - 1; ++i) *f += 100 * sq(sq(x[i]) - x[i + 1]) + sq(x[i] - 1);
  for (int k = 0; k < n - 2; ++k)
    eq[k] = 3 * cube(x[k + 1]) + 2 * x[k + 2] - 5 +
            sin(x[k + 1] - x[k + 2]) * sin(x[k + 1] + x[k + 2]) + 4 * x[k + 1] -
            x[k] * exp(x[k] - x[k + 1]) - 3;
}
static EVALUATION(chainedRosenbrock10) {
  chainedRosenbrock(10, x, f, eq);
}
static EVALUATION(chainedRosenbrock50) {
  chainedRosenbrock(50, x, f, eq);
}

/* The minimiser of up to 23 blocks. */
#define BLOCK 0, 1, 2, -1
#define FIVE_BLOCKS BLOCK, BLOCK, BLOCK, BLOCK, BLOCK
#define ROSEN_SUZUKI_BEST \
  VALUES(FIVE_BLOCKS, FIVE_BLOCKS, FIVE_BLOCKS, FIVE_BLOCKS, BLOCK, BLOCK, BLOCK)

/* clang-format off */
static const Problem table[] = {
    {.name = "rosen_suzuki_12", .source = "Rosen & Suzuki 1965, repeated",
     .n = 12, .nEq = 0, .nIneq = 9, .evaluate = rosenSuzuki12,
     .flags = PROBLEM_SCALABLE,
     .start = allZero, .lower = allMinusTen, .upper = allTen,
     .best = ROSEN_SUZUKI_BEST, .fBest = -132},
    {.name = "rosen_suzuki_52", .source = "Rosen & Suzuki 1965, repeated",
     .n = 52, .nEq = 0, .nIneq = 39, .evaluate = rosenSuzuki52,
     .flags = PROBLEM_SCALABLE,
     .start = allZero, .lower = allMinusTen, .upper = allTen,
     .best = ROSEN_SUZUKI_BEST, .fBest = -572},
    {.name = "rosen_suzuki_92", .source = "Rosen & Suzuki 1965, repeated",
     .n = 92, .nEq = 0, .nIneq = 69, .evaluate = rosenSuzuki92,
     .flags = PROBLEM_SCALABLE,
     .start = allZero, .lower = allMinusTen, .upper = allTen,
     .best = ROSEN_SUZUKI_BEST, .fBest = -1012},
    {.name = "sphere_quartic_10", .source = "Schittkowski 1987, problems 394 and 395; box added",
     .n = 10, .nEq = 1, .nIneq = 0, .evaluate = sphereQuartic10,
     .flags = PROBLEM_SCALABLE | PROBLEM_INFEASIBLE_START,
     .start = VALUES(TEN(2)), .lower = allMinusTen, .upper = allTen,
     .best = VALUES(0.9128709291752769, 0.408248290463863, FIVE(0), 0, 0, 0),
     .fBest = 1.9166666666666667},
    {.name = "sphere_quartic_50", .source = "Schittkowski 1987, problems 394 and 395; box added",
     .n = 50, .nEq = 1, .nIneq = 0, .evaluate = sphereQuartic50,
     .flags = PROBLEM_SCALABLE | PROBLEM_INFEASIBLE_START,
     .start = VALUES(FIFTY(2)), .lower = allMinusTen, .upper = allTen,
     .best = VALUES(0.9128709291752769, 0.408248290463863, TEN(0), TEN(0), TEN(0), TEN(0), FIVE(0),
                    0, 0, 0),
     .fBest = 1.9166666666666667},
    {.name = "sphere_quartic_100", .source = "Schittkowski 1987, problems 394 and 395; box added",
     .n = 100, .nEq = 1, .nIneq = 0, .evaluate = sphereQuartic100,
     .flags = PROBLEM_SCALABLE | PROBLEM_INFEASIBLE_START,
     .start = VALUES(HUNDRED(2)), .lower = allMinusTen, .upper = allTen,
     .best = VALUES(0.9128709291752769, 0.408248290463863, FIFTY(0), TEN(0), TEN(0), TEN(0), TEN(0),
                    FIVE(0), 0, 0, 0),
     .fBest = 1.9166666666666667},
    {.name = "segments_10", .source = "after Svanberg 1987; minimiser in closed form",
     .n = 10, .nEq = 0, .nIneq = 1, .evaluate = segments10,
     .flags = PROBLEM_SCALABLE,
     .start = VALUES(TEN(2)), .lower = VALUES(TEN(0.01)), .upper = VALUES(TEN(5)),
     .best = VALUES(1.2309042677460698, 1.1643857671358722, 1.0938395720850087, 1.0184339890938818,
                    0.937005851073914, 0.8478409982172921, 0.7482252943106528, 0.6333887640604059,
                    0.4934651248253427, 0.3033765126372376),
     .fBest = 8.470866141185677},
    {.name = "segments_50", .source = "after Svanberg 1987; minimiser in closed form",
     .n = 50, .nEq = 0, .nIneq = 1, .evaluate = segments50,
     .flags = PROBLEM_SCALABLE,
     .start = VALUES(FIFTY(2)), .lower = VALUES(FIFTY(0.01)), .upper = VALUES(FIFTY(5)),
     .best = VALUES(1.253873587738524, 1.241144016586415, 1.2282825363070577, 1.2152849595018749,
                    1.2021468724415014, 1.188863617561088, 1.1754302741756673, 1.1618416371892568,
                    1.148092193536579, 1.134176096055112, 1.1200871344364, 1.105818702847416,
                    1.09136376374324, 1.076714807308805, 1.0618638058666592, 1.046802162465467,
                    1.0315206527149676, 1.0160093587505221, 1.000257593985338, 0.9842538170294233,
                    0.9679855328061292, 0.9514391784597048, 0.9345999910937587, 0.9174518536747176,
                    0.8999771145270017, 0.8821563746698892, 0.8639682357055416, 0.8453889989305386,
                    0.8263923036199002, 0.806948688748708, 0.7870250573692332, 0.7665840158495167,
                    0.745583050288498, 0.7239734882361569, 0.7016991731206392, 0.6786947478783056,
                    0.6548833971354836, 0.6301738235042093, 0.6044561146868367, 0.5775959601685663,
                    0.5494263339777995, 0.5197351411778243, 0.48824614699807983, 0.4545881167922568,
                    0.418241859388445, 0.37844224254708875, 0.33397778463740696,
                    0.28271935985539143, 0.22026305504256868, 0.13541511677302345),
     .fBest = 42.03185984790452},
    {.name = "segments_100", .source = "after Svanberg 1987; minimiser in closed form",
     .n = 100, .nEq = 0, .nIneq = 1, .evaluate = segments100,
     .flags = PROBLEM_SCALABLE,
     .start = VALUES(HUNDRED(2)), .lower = VALUES(HUNDRED(0.01)), .upper = VALUES(HUNDRED(5)),
     .best = VALUES(1.256862785990275, 1.2505309969685772, 1.244166985310145, 1.2377702540131625,
                    1.231340293166878, 1.2248765794772667, 1.2183785757700512, 1.2118457304697376,
                    1.20527747705324, 1.1986732334765593, 1.1920324015728805, 1.185354366420317,
                    1.178638495677422, 1.1718841388844243, 1.1650906267280112, 1.1582572702673022,
                    1.1513833601184822, 1.14446816559536, 1.1375109338029101, 1.1305108886806117,
                    1.1234672299921424, 1.1163791322577103, 1.1092457436249858, 1.1020661846742674,
                    1.0948395471531323, 1.0875648926354247, 1.0802412510989718, 1.072867619415928,
                    1.0654429597490962, 1.0579661978469685, 1.0504362212295588, 1.0428518772563486,
                    1.0352119710668575, 1.0275152633834068, 1.019760468164651, 1.011946250097289,
                    1.0040712219121075, 0.9961339415090825, 0.9881329088746671, 0.9800665627726096,
                    0.9719332771876259, 0.9637313574989899, 0.9554590363585398, 0.9471144692447069,
                    0.9386957296608922, 0.930200803942788, 0.9216275856350029, 0.9129738693925105,
                    0.9042373443569042, 0.8954155869511056, 0.8865060530288791, 0.8775060693071072,
                    0.8684128239990807, 0.8592233565558083, 0.8499345464092861, 0.840543100596435,
                    0.8310455401245936, 0.8214381849185625, 0.8117171371645682, 0.8018782628374432,
                    0.7919171711627981, 0.7818291917248736, 0.771609348881603, 0.7612523330893608,
                    0.7507524686686197, 0.7401036774553035, 0.729299437677296, 0.7183327372664576,
                    0.7071960206574028, 0.6958811279270034, 0.6843792248824104, 0.6726807223961097,
                    0.6607751828951759, 0.6486512114128758, 0.6362963279692498, 0.6236968172153174,
                    0.6108375501864094, 0.5977017715698401, 0.5842708439666836, 0.5705239380228694,
                    0.556437653736368, 0.5419855532896822, 0.5271375787638989, 0.5118593180603976,
                    0.4961110677024063, 0.4798466193375909, 0.46301166342917494, 0.445541651455005,
                    0.42735887389307, 0.4083683713427417, 0.38845205412075134, 0.3674599681591205,
                    0.34519681163591615, 0.3214001164967302, 0.29570280736723603,
                    0.2675639251201605, 0.23612693540521265, 0.1998865166880921, 0.1557290411596019,
                    0.09574036957538307),
     .fBest = 84.01955914109584},
    {.name = "hanging_chain_10",
     .source = "the classic chain, solved by its equilibrium tan(x_i) = c (i - (n+1)/2)",
     .n = 10, .nEq = 2, .nIneq = 0, .evaluate = hangingChain10,
     .flags = PROBLEM_SCALABLE | PROBLEM_INFEASIBLE_START,
     .start = VALUES(FIVE(-1), FIVE(1)), .lower = VALUES(TEN(-1.5)), .upper = VALUES(TEN(1.5)),
     .best = VALUES(-1.0971827133999117, -0.9881518094577756, -0.8256686929571071,
                    -0.5766428236330442, -0.21348985888624555, 0.21348985888624555,
                    0.5766428236330442, 0.8256686929571071, 0.9881518094577756, 1.0971827133999117),
     .fBest = -19.37692324554048},
    {.name = "hanging_chain_50",
     .source = "the classic chain, solved by its equilibrium tan(x_i) = c (i - (n+1)/2)",
     .n = 50, .nEq = 2, .nIneq = 0, .evaluate = hangingChain50,
     .flags = PROBLEM_SCALABLE | PROBLEM_INFEASIBLE_START,
     .start = VALUES(TEN(-1), TEN(-1), FIVE(-1), TEN(1), TEN(1), FIVE(1)),
     .lower = VALUES(FIFTY(-1.5)), .upper = VALUES(FIFTY(1.5)),
     .best = VALUES(-1.130120301860733, -1.1138308593876889, -1.0963855848247337,
                    -1.0776687735164254, -1.0575508151785136, -1.0358865233486814,
                    -1.0125133689934884, -0.9872496814405073, -0.959892925975814,
                    -0.9302182358110888, -0.8979774746580177, -0.8628992437697713,
                    -0.8246904319017008, -0.7830401404828606, -0.737627087079845,
                    -0.6881318556606846, -0.6342555270821043, -0.575746113454414,
                    -0.5124335687035175, -0.44427263038237097, -0.3713901238181333,
                    -0.29412976377300837, -0.21308381506594856, -0.12909906547481342,
                    -0.04324671606605675, 0.04324671606605675, 0.12909906547481342,
                    0.21308381506594856, 0.29412976377300837, 0.3713901238181333,
                    0.44427263038237097, 0.5124335687035175, 0.575746113454414, 0.6342555270821043,
                    0.6881318556606846, 0.737627087079845, 0.7830401404828606, 0.8246904319017008,
                    0.8628992437697713, 0.8979774746580177, 0.9302182358110888, 0.959892925975814,
                    0.9872496814405073, 1.0125133689934884, 1.0358865233486814, 1.0575508151785136,
                    1.0776687735164254, 1.0963855848247337, 1.1138308593876889, 1.130120301860733),
     .fBest = -19.44959253960585},
    {.name = "chained_rosenbrock_10",
     .source = "Luksan & Vlcek 1999, problem 5.1; start and box chosen",
     .n = 10, .nEq = 8, .nIneq = 0, .evaluate = chainedRosenbrock10,
     .flags = PROBLEM_SCALABLE | PROBLEM_OTHER_MINIMA | PROBLEM_INFEASIBLE_START,
     .start = VALUES(TEN(0.7)), .lower = VALUES(TEN(-5)), .upper = VALUES(TEN(5)),
     .best = allOne, .fBest = 0},
    {.name = "chained_rosenbrock_50",
     .source = "Luksan & Vlcek 1999, problem 5.1; start and box chosen",
     .n = 50, .nEq = 48, .nIneq = 0, .evaluate = chainedRosenbrock50,
     .flags = PROBLEM_SCALABLE | PROBLEM_OTHER_MINIMA | PROBLEM_INFEASIBLE_START,
     .start = VALUES(FIFTY(0.7)), .lower = VALUES(FIFTY(-5)), .upper = VALUES(FIFTY(5)),
     .best = allOne, .fBest = 0},
};
/* clang-format on */

const ProblemFamily scalableFamily = FAMILY(table);
