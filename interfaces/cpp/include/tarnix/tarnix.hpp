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
/// Threads. One solve runs at a time in a process: a second one, of another thread, waits for it.
/// This holds among solves of this layer within one program or library; a host that also calls the
/// C functions keeps them apart itself. After a solve the settings block is as it was before.

#include "cpp/options.hpp"
#include "cpp/problem.hpp"
#include "cpp/result.hpp"
#include "cpp/solve.hpp"
#include "cpp/text.hpp"
