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
/// A host links tarnix::cpp, the compiled layer; or it defines TARNIX_HEADER_ONLY (the target
/// tarnix::cpp_header_only does), compiles all of it itself and links the C library alone.
///
/// Threads. Every solve has settings and memory of its own: solves run side by side in threads, and
/// a callable may start another one. What the C functions work with is not touched.

#include "cpp/options.hpp"
#include "cpp/problem.hpp"
#include "cpp/result.hpp"
#include "cpp/text.hpp"

#ifdef TARNIX_HEADER_ONLY
#include "cpp/detail/problem.hpp"
#endif
