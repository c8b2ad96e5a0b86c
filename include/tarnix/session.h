/* tarnix: sessions, for solves that are independent of each other; and what a host may offer
 * besides its analysis: many designs at once, and gradients.
 *
 * A session holds all state of a solve: settings and counters, work storage, the stored problem.
 * The process-wide session always exists; it is what every call of tarnix.h and routines.h works on
 * in a thread that asks for no other, and its settings are VRK_settings. Others are made by
 * tarnix_session_create. Solves in different sessions are independent of each other: in threads, in
 * a callback of another solve, one per tenant of a service. A solve gives the same bits in every
 * session, alone or alongside others.
 *
 *     tarnix_session* mine = tarnix_session_create();
 *     tarnix_session* before = tarnix_session_use(mine);
 *     VRK_set_convTol(1e-6);
 *     status = VRK_sqp(...);
 *     tarnix_session_use(before);
 *     tarnix_session_destroy(mine);
 *
 * Rules
 *   - Null is the process-wide session, except in tarnix_session_destroy.
 *   - At most one thread uses a session at a time; tarnix_session_stop alone may be called from
 *     any.
 *   - A thread begins with the process-wide session. What it uses afterwards does not
 *     affect other threads.
 *   - A callback may use another session and solve in it. When it returns, the solve that called it
 *     continues in its own session, whatever session the callback left in use.
 *   - In one session a solve must not be started from a callback of another.
 *   - A callback may be left by longjmp (or its thread be ended) when the session of the solve is
 *     then destroyed: nothing leaks, and no other session is disturbed. The thread still uses that
 *     session: call tarnix_session_use first, or leave it to tarnix_session_destroy. In the
 *     process-wide session this is not supported. */
#ifndef TARNIX_SESSION_H
#define TARNIX_SESSION_H

#include <tarnix/routines.h>
#include <tarnix/tarnix.h>

#include <stddef.h>

#ifdef __cplusplus
extern "C" {
#endif

typedef struct tarnix_session tarnix_session;

/* A new session with all defaults stored; null when there is no memory for it. Its own memory grows
 * with its largest solve and is kept for the next. A solve that runs out of memory ends with 7
 * (SQP) or 11 (GRG); after VRK_setDefaults the session serves again. */
VRK_API tarnix_session* tarnix_session_create(void);

/* Returns all memory of the session; null is ignored. No solve may be running in it, unless its
 * callback was left for good, and no other thread may use it. When the calling thread uses it, that
 * thread uses the process-wide session from then on. */
VRK_API void tarnix_session_destroy(tarnix_session* session);

/* Makes the calling thread use this session in every call of tarnix.h and routines.h, and returns
 * the one that it used before, null for the process-wide one. */
VRK_API tarnix_session* tarnix_session_use(tarnix_session* session);

/* The settings and counters of the session, &VRK_settings for the process-wide one. Valid until the
 * session is destroyed. */
VRK_API VRK_Settings* tarnix_session_settings(tarnix_session* session);

/* VRK_set_stop for this session, from any thread and from signal handlers. */
VRK_API void tarnix_session_stop(tarnix_session* session, int32_t value);

/* Whether VRK_grg and the GR* routines solve with their refinements (nonzero) or by the plain
 * method (0, the default). The refined method solves more problems; docs/methods.md names what
 * differs. VRK_setDefaults leaves this choice as it is, and the functions below. */
VRK_API void tarnix_session_refine(tarnix_session* session, int32_t on);

/* Evaluates count designs, in any order or at the same time.
 *   X  in   (n, count) designs, physical units, one column each
 *   F  out  (nfun, count) values in the order of f: objective, equalities, inequalities */
typedef void (*tarnix_batch)(void* user, int32_t count, const double* X, double* F);

/* The points of a gradient pass (n for forward differences, 2n for central ones) are then handed to
 * this function in one call; all others go to the analysis callback as before. Points, bits and
 * counters are those of single calls. A null function: one by one again. */
VRK_API void tarnix_session_batch(tarnix_session* session, tarnix_batch function, void* user);

/* Gradients of the functions at one design.
 *   x     in      (n) physical units
 *   nfun  in      number of functions, 1 + m1 + m2
 *   G     in/out  (n, nfun) derivatives by the physical variables, one column per function in the
 *                 order of f. All of it arrives as NaN; what stays NaN is found by differences.
 * Returns 0 when it has nothing here: then all of it is found by differences. */
typedef int32_t (*tarnix_gradient)(void* user, const double* x, int32_t n, int32_t nfun, double* G);

/* Every gradient pass then asks this function first, and evaluates only where a derivative that it
 * needs is missing: nowhere when all are given. The function is called at points at which the
 * analysis has been called before, though not always in the call before. Null: differences
 * alone. */
VRK_API void tarnix_session_gradient(tarnix_session* session, tarnix_gradient function, void* user);

/* Takes a piece of the trace: length characters, not ended by 0. Lines end with a newline, and a
 * line may come in several pieces. */
typedef void (*tarnix_trace)(void* user, const char* text, size_t length);

/* The trace of the session then goes to this function instead of the C library's stdout. Null:
 * stdout again. What is printed is decided by VRK_set_print as before. */
VRK_API void tarnix_session_trace(tarnix_session* session, tarnix_trace function, void* user);

#ifdef __cplusplus
}
#endif

#endif
