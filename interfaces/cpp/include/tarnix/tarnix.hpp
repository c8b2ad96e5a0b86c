#pragma once
/// tarnix for C++17 hosts: constrained optimization of small design problems.
///
///     tarnix::Problem p;
///     const auto w = p.variable("width", 2.0, 0.1, 10.0);
///     const auto mass = p.minimize("mass");
///     const auto stress = p.atMost("stress", 160);
///     const tarnix::Result r = p.solve([&](const tarnix::Point& x, tarnix::Values& v) {
///       v[mass] = 7.8 * x[w];
///       v[stress] = 500 / x[w];
///     });
///     std::cout << r.summary();
///
/// Header-only; a program links the library as a C host does.
///
/// Threads. Every solve has settings and memory of its own: solves run side by side in threads, and a
/// callable may start another one. What the C functions work with is not touched.

#include "cpp/options.hpp"
#include "cpp/problem.hpp"
#include "cpp/result.hpp"
#include "cpp/detail/solver.hpp"
#include "cpp/detail/text.hpp"
