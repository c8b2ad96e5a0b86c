/* tarnix: the settings block and the exported algorithm routines.
 *
 * Most hosts need tarnix.h alone. The routines here are the building blocks of the solve calls,
 * for a host that runs an algorithm with its own arrays.
 *
 * Common rules, not repeated below
 *
 *   Arguments   By reference. The length of a title alone is a value and comes last. An argument
 *               is never null unless its entry says so; an array without entries may be.
 *   Arrays      One-based in these descriptions, x(1)..x(n). Lists hold one-based positions.
 *               Arrays of one call must not overlap.
 *   Matrices    Column-major: A is "(lda, m)" when element (i, j) is at i + (j-1) lda, with
 *               lda, the leading dimension, at least the number of rows used.
 *   Packed      Upper triangle of a symmetric matrix of order n, column by column: element (i, k),
 *               i <= k, at k(k-1)/2 + i; n(n+1)/2 doubles. A factor U'DU is stored in the
 *               same places: pivots D on the diagonal, unit upper triangular U above it.
 *   Logicals    0 false, -1 true. Any nonzero input is true.
 *   Directions  in: only read. out: written, content on entry ignored. in/out: both.
 *               work: scratch of the caller, left with some content.
 *   Counts      Below 1 mean that there is nothing of the kind.
 *   Units       "Scaled" variables run from -1 to 1 between the bounds of the last solve call;
 *               "physical" ones are the host's. Function values are always the callback's. The QP
 *               and curvature routines work in whatever units their caller uses, the optimizers in
 *               scaled ones.
 *   Settings    Read from the settings block of the session that the thread uses (VRK_settings
 *               for the process-wide one) at the time of use; never passed.
 *   Storage     Scratch comes from the session's work storage, used as a stack, and is given back
 *               on every exit. A request for "k doubles" fails when dblStorageUsed + k exceeds
 *               dblStorageCapacity (or VRK_DBL_STORAGE_LIMIT). Unless an entry says otherwise a
 *               failed one prints a message with the total needed when printLevel > 0, sets
 *               errorFlag to -1, and leaves the results untouched.
 *   Threads     One thread at a time uses a session; several sessions (session.h) do not notice
 *               each other.
 *   Evaluation  Routines that evaluate call the callback, with the scaling, of the session's most
 *               recent solve call. A host that calls such a routine itself records both by a
 *               solve call with maxIter = 0. They serve at most VRK_MAX_VARIABLES variables. The
 *               other routines are limited by storage alone. */
#ifndef TARNIX_ROUTINES_H
#define TARNIX_ROUTINES_H

#include <stddef.h>
#include <stdint.h>

#include "tarnix.h"

#ifdef __cplusplus
extern "C" {
#endif

/* ------------------------------------------------------------------------------------------------
 * Settings block
 * --------------------------------------------------------------------------------------------- */

/* Sizes of the process-wide session's work storage, and the most that another one's may take. A
 * capacity set above them counts as the limit. */
enum {
  VRK_DBL_STORAGE_LIMIT = 2000000, /* doubles */
  VRK_INT_STORAGE_LIMIT = 100000   /* integers */
};

/* Options and counters of a session. Those of the process-wide one are all zero until
 * VRK_setDefaults stores the defaults given in brackets; any other begins with them. A host may
 * write options that have no setter directly, between solves. */
typedef struct VRK_Settings {
  int32_t intStorageCapacity; /* integers of work storage that may be used [5000] */
  int32_t dblStorageCapacity; /* doubles of work storage that may be used [40000] */
  int32_t intStorageUsed;     /* mark of the integer storage: entries in use [0] */
  int32_t dblStorageUsed;     /* mark of the double storage: entries in use [0] */
  int32_t diffMethod;         /* 1 forward differences, otherwise central [1] */
  int32_t nGradEval;          /* counter: gradients of the SQP side [0] */
  int32_t stopRequest;        /* 1 ends a solve at its next iteration; while one runs, write it
                                 through VRK_set_stop only, which is atomic [0] */
  int32_t nNewton1;           /* counter: Newton restorations that took a step [0] */
  int32_t nNewton2;           /* counter: evaluations of Newton restorations [0] */
  double grgParam1;           /* GRG: share of the inactive inequalities that is kept when there are
                                 more than 25 inequalities; above 0.99 all are [1.0] */
  double grgSearchParam1;     /* GRG line search: largest first step [0.02] */
  double grgSearchParam2;     /* GRG line search: smallest step [0.0001] */
  int32_t printLevel;         /* 0 nothing .. 3 everything, see VRK_set_print [0] */
  double maxStepNorm;         /* SQP: longest search vector, Euclidean, scaled variables [1.0] */
  int32_t errorFlag;          /* logical: storage exhausted or another fatal condition; stays set
                                 until VRK_setDefaults [0] */
  int32_t nFunEval;           /* counter: evaluations [0] */
  int32_t nIter;              /* number of the last iteration begun [0] */
  double zeroTol;             /* absolute: what is smaller counts as zero [1e-7] */
  double bigValue;            /* the library's infinity [1e30] */
  double convTolGrg;          /* GRG: convergence of iteration and line search [0.001] */
  double convTol;             /* SQP convergence; feasibility in both methods [0.001] */
  double diffPert;            /* difference step, absolute, scaled variables [0.0001] */
} VRK_Settings;

extern VRK_API VRK_Settings VRK_settings;

/* ------------------------------------------------------------------------------------------------
 * Callback bridge and evaluation
 * --------------------------------------------------------------------------------------------- */

/* Calls the recorded callback, which fills F. Neither scales nor counts. Does nothing when no
 * callback is recorded.
 *   x  in      (n) design, physical; handed to the callback
 *   F  in/out  (1 + m1 + m2) objective, equalities, inequalities; m1 of the last solve call */
VRK_API void ANAFUN(double* x, double* F);

/* One evaluation at a scaled point, with l, u the recorded bounds:
 *     nFunEval := nFunEval + 1
 *     x(i) := ((u(i) - l(i)) x(i) + (u(i) + l(i))) 0.5              scaled to physical
 *     ANAFUN(x, f)
 *     x(i) := (x(i) - (u(i) + l(i)) 0.5) / ((u(i) - l(i)) 0.5)      and back.
 * x comes back by the formula, not from a copy: its last bits may change. GRGFUN then puts
 * f(k) := 0.0 - f(k) when mode = 3. With n < 1 nothing is scaled, the rest is done.
 *   mode  in      3 negates f(k), any other value nothing
 *   k     in      position in f; read when mode = 3 only
 *   n     in      number of variables
 *   x     in/out  (n) scaled point
 *   f     in/out  (1 + m1 + m2) function values */
VRK_API void GRGFUN(const int32_t* mode, const int32_t* k, const int32_t* n, double* x, double* f);
VRK_API void SQPFUN(const int32_t* n, double* x, double* f);

/* ------------------------------------------------------------------------------------------------
 * Trace: text lines on the C library's stdout, or where the session's trace goes, whatever the
 * print level
 *
 * A title line is a blank and the title. A double is a blank and a field of 13, right-aligned,
 * 5 decimals: fixed form when it is 0 or 0.1 <= |v| < 1e6, exponent form otherwise.
 * --------------------------------------------------------------------------------------------- */

/* Vector of doubles, 6 to a line. Below 1 entry: the title line and an empty line.
 *   n            in  number of entries
 *   v            in  (n) values
 *   title        in  text, no end mark needed
 *   titleLength  in  its length in bytes, by value */
VRK_API void PRTVD(const int32_t* n, const double* v, const char* title, size_t titleLength);

/* Vector of integers, 8 to a line in fields of 10; otherwise as PRTVD. */
VRK_API void PRTVI(const int32_t* n, const int32_t* iv, const char* title, size_t titleLength);

/* Matrix of doubles, row by row. A row of at most 6 columns is one line; a longer one fills
 * ncols div 6 lines and puts the remaining ncols mod 6 values on one more, which is written even
 * when it is empty. Below 1 row: the title line alone. Below 1 column: an empty line per row.
 *   ld     in  leading dimension of A, ld >= nrows
 *   nrows  in  number of rows
 *   ncols  in  number of columns
 *   A      in  (ld, ncols) matrix
 *   title, titleLength  as PRTVD */
VRK_API void PRTMD(const int32_t* ld, const int32_t* nrows, const int32_t* ncols, const double* A,
                   const char* title, size_t titleLength);

/* Message: the first count bytes of text, broken after every 80. Below 1: an empty line.
 *   text   in  (count) bytes, no end mark needed
 *   count  in  number of bytes */
VRK_API void PRTMES(const char* text, const int32_t* count);

/* ------------------------------------------------------------------------------------------------
 * Finite-difference gradients
 *
 * With h = diffPert, x scaled and never clipped to the bounds, for every selected function j with
 * column c and for i = 1..n in order
 *     diffMethod = 1   G(i, c) = (f_j(x + h e_i) - f_j(x)) / h               n evaluations
 *     otherwise        G(i, c) = (f_j(x + h e_i) - f_j(x - h e_i)) / (2h)   2n evaluations.
 * f must hold the values at x on entry and holds them again, bit for bit, on return. x is restored
 * by subtracting h, so its last bits may change. Columns of G that are not selected stay as they
 * are. Storage is checked before anything is evaluated.
 *
 * Common arguments:
 *   n      in      number of variables
 *   x      in/out  (n) scaled point
 *   m      in      number of functions
 *   f      in/out  (m) function values at x, objective and both constraint groups
 *   mode   in      3 negates f(k) of every fresh evaluation before it is used, others nothing
 *   k      in      position in f, see mode
 *   map    in      (m) column of function j in G, 0 to leave it out; not negative
 *   list   in      (m) column of function j in G, below 1 to leave it out; list(1) = -1 selects
 *                  all, function j going to column j
 *   G      in/out  (n, .) or (ld, .), as many columns as are named: gradients with respect to the
 *                  scaled variables
 *   ld     in      leading dimension of G, ld >= n
 *   fSave, fWork   work  (m) each
 *   reserved       not read, may be null; it keeps the argument positions
 * --------------------------------------------------------------------------------------------- */

/* Gradients for the reduced gradient iteration. Builds the map, then differences as above:
 *     map := 0;  map(list1(i)) = i;  map(list2(i)) = m1 + i;  map(k) = m1 + m2 + 1.
 * Storage 2m + 2 doubles. A failed request leaves G as it is, but map, gObj and gScale are still
 * formed (from what G holds).
 *   m1, list1  in   (m1) positions of the inequalities that are kept
 *   m2, list2  in   (m2) positions of the satisfied equalities
 *   k          in   position of the objective, also for mode 3
 *   map        out  (m) column of each function, 0 none
 *   G          out  (n, m1 + m2 + 1) gradients, the objective's last
 *   gObj       out  (n) objective gradient, the last column of G
 *   gScale     out  max(1, mean of |gObj(i)|); 1 when that mean is NaN */
VRK_API void GRGGRA(const int32_t* mode, const int32_t* m1, const int32_t* list1, const int32_t* m2,
                    const int32_t* list2, const int32_t* k, const int32_t* n, double* x,
                    const int32_t* m, double* f, int32_t* map, double* G, double* gObj,
                    double* gScale);

/* The same with the caller's map and no extra results. Storage 2m + 2 doubles. */
VRK_API void GDSGRA(const int32_t* mode, const int32_t* k, const int32_t* n, double* x,
                    const int32_t* m, double* f, const int32_t* map, double* G);

/* GDSGRA with scratch of the caller; cannot fail. */
VRK_API void GDBGRA(const int32_t* mode, const int32_t* k, const int32_t* n, double* x,
                    const int32_t* m, double* f, const int32_t* map, double* G, double* fSave,
                    double* fWork);

/* Gradients for the SQP side: with a list, no negation, and nGradEval := nGradEval + 1.
 * Storage 2m + 1 doubles. A failed request leaves G and nGradEval as they are, but gObj is still
 * copied.
 *   gObj  out  (n) column m of G, the objective's in the order inequalities, equalities,
 *              objective; untouched when m < 1 */
VRK_API void SQPGRA(const int32_t* n, const int32_t* m, double* x, double* f, const int32_t* list,
                    double* gObj, double* G);

/* The same without gObj and with a leading dimension. Storage 2m + 1 doubles. */
VRK_API void DDSGRA(const int32_t* n, double* x, const int32_t* m, double* f, const void* reserved,
                    const int32_t* list, const int32_t* ld, double* G);

/* DDSGRA with scratch of the caller; cannot fail. */
VRK_API void DDBGRA(const int32_t* n, double* x, const int32_t* m, double* f, const void* reserved,
                    const int32_t* list, const int32_t* ld, double* G, double* fSave,
                    double* fWork);

/* ------------------------------------------------------------------------------------------------
 * Lagrangian gradient and curvature
 * --------------------------------------------------------------------------------------------- */

/* Gradient of the Lagrangian over the active rows:
 *     gl = g + sum over k = 1..nact of mult(k) a_k
 * with a_k, for row r = act(k),
 *     r <= m1              column colidx(map1(r)) of J
 *     m1 < r <= m1 + m2    column colidx(map2(r - m1)) of J; skipped when that is 0
 *     above                t = r - m1 - m2:  +e_j for odd t, -e_j for even t,  j = (t + 1) div 2.
 * The last rule takes it that every variable has both of its bound rows. A row of the first kind
 * without a column sets ierr, and its multiplier becomes 0. n < 1: only ierr := 0.
 *   n          in      number of variables
 *   m1, map1   in      (m1) constraint number of each row of the first kind
 *   m2, map2   in      (m2) constraint number of each row of the second kind
 *   colidx     in      (largest constraint number) column of J by constraint number, 0 none
 *   act, nact  in      (nact) active rows, in the numbering of QPSOLV's IACT
 *   mult       in/out  (nact) their multipliers, with QPSOLV's sign
 *   g          in      (n) objective gradient
 *   J          in      (n, .) constraint gradients
 *   gl         out     (n) gradient of the Lagrangian
 *   ierr       out     0, or the number of a first-kind constraint without a column */
VRK_API void QLAG(const int32_t* n, const int32_t* m1, const int32_t* map1, const int32_t* m2,
                  const int32_t* map2, const int32_t* colidx, const int32_t* act,
                  const int32_t* nact, double* mult, const double* g, const double* J, double* gl,
                  int32_t* ierr);

/* Damped BFGS update of a Hessian approximation, which stays positive definite:
 *     H := H - u v'/(s'v) + r r'/(s'r),   u = H s,  v = H's,  r = theta y + (1 - theta) u,
 *     theta = 0.8f s'v / (s'v - s'y) when s'y < 0.2f s'v, otherwise 1
 * (0.8f, 0.2f: the single-precision values). Leaves H as it is, and updated false, when one of
 * |s'v|, |s'v - s'y| (the secant condition holds already) and |s'r| is below 1e-6f.
 * Source: Powell, Lecture Notes in Mathematics 630 (1978) 144-157.
 *   n           in      number of variables
 *   s           in      (n) change of the point
 *   y           in      (n) change of the Lagrangian gradient
 *   H           in/out  (n, n) symmetric, both triangles
 *   updated     out     logical: H was changed
 *   w1, w2, w3  work    (n) each; hold u, r, v */
VRK_API void QHESS(const int32_t* n, const double* s, const double* y, double* H, int32_t* updated,
                   double* w1, double* w2, double* w3);

/* QHESS with its scratch from the work storage: 3n + 1 doubles. */
VRK_API void GRSHES(const int32_t* n, const double* s, const double* y, double* H,
                    int32_t* updated);

/* H := d I.  SQPHIN takes d = max(mean of |g(i)|, 0.001), and 0.001 when that mean is NaN.
 * n < 1: H is left as it is.
 *   n  in   number of variables
 *   g  in   (n) objective gradient
 *   d  in   diagonal value
 *   H  out  (n, n) every element is written */
VRK_API void SQPHIN(const int32_t* n, const double* g, double* H);
VRK_API void GRGHIN(const int32_t* n, const double* d, double* H);

/* Secant update of an inverse Jacobian:
 *     B := B - u w'/delta,   u = -B a,   w = B'b,   delta = b'(u + b).
 * Broyden's update, carried out on the inverse by the Sherman-Morrison formula. Does nothing
 * unless |delta| > zeroTol. At printLevel 3 the new B is printed ("UPDATED INVERSE JACOBIAN").
 * Sources: Broyden, Math. Comp. 19 (1965) 577-593; Sherman & Morrison, Ann. Math. Stat. 21 (1950)
 * 124-127.
 *   ld    in      leading dimension of B, ld >= m
 *   m     in      order of B
 *   B     in/out  (ld, m) inverse Jacobian of the dependent variables
 *   a     in      (m) A b minus the observed change of the constraint values, A the inverse of B
 *   b     in      (m) step in the dependent variables
 *   u, w  work    (m) each
 * GRSBUP takes u and w from the work storage: 2m + 1 doubles. */
VRK_API void GRGBUP(const int32_t* ld, const int32_t* m, double* B, const double* a,
                    const double* b, double* u, double* w);
VRK_API void GRSBUP(const int32_t* ld, const int32_t* m, double* B, const double* a,
                    const double* b);

/* ------------------------------------------------------------------------------------------------
 * Quadratic program
 *
 *     minimize    g'd + d'H d / 2
 *     subject to  a_r'd <= b_r   r = 1..m1        (inequalities)
 *                 a_r'd  = b_r   r = m1+1..m      (equalities)
 *                 dl <= d <= du                   (as far as the codes say)
 *
 * by the dual active-set method of Goldfarb & Idnani, Math. Programming 27 (1983) 1-33: from the
 * unconstrained minimum, violated rows are added one at a time; a partial step drops a row whose
 * multiplier would become negative. At the solution g + H d + sum of multipliers times row
 * gradients = 0.
 *
 * Rows, in the internal numbering
 *     1..m                        general rows; gradient: column r of A; residual a_r'd - b_r
 *     m+1..m+nb                   bound rows, variable by variable
 *     m+nb+1..m+nb+(m-m1)         mirrored equalities: gradient and residual of row m1+1.. negated
 * Bound code of variable j:  1  upper row (+e_j, residual d_j - du_j), then lower row (-e_j,
 * residual dl_j - d_j);  3  the upper row;  2  the lower row;  others  none. nb counts the rows.
 * A row is violated when its residual exceeds zeroTol.
 *
 * QPSINI .. QPSDOA are the steps that QPSOLV itself is made of. One round:
 *     QPSINI once, then repeat
 *       QPSCON, QPSVIO                 residuals, row p to add (none: optimal), up := 0
 *       QPSDIR, QPSLEN, QPSSTP, QPSDOA until the full step for p is done; after a partial step
 *                                      the residual of p alone has to be computed again
 *
 * Arguments common to the steps:
 *   n        in      number of variables
 *   m, m1    in      number of general rows; how many of them are inequalities
 *   nb       in      number of bound rows
 *   A        in      (lda, m) gradients of the general rows; null allowed when m < 1
 *   lda      in      leading dimension of A, lda >= n
 *   codes    in      (n) bound codes
 *   P        in      packed U'DU factor of H
 *   W        in/out  (n, n) column k <= nact: H^-1 times the gradient of active row k
 *   T        in/out  packed, n(n+1)/2: U'DU factor, order nact, of N'H^-1 N, where N holds the
 *                    gradients of the active rows
 *   nact     in      number of active rows, 0..n
 *   IACT     in      (n) active rows, internal numbering
 *   XLAG     in      (n) their multipliers
 *   p        in      row that is being added, internal numbering
 *   up       in/out  its multiplier so far
 * --------------------------------------------------------------------------------------------- */

/* Solves the quadratic program.
 *   n           in   number of variables
 *   m           in   number of general rows
 *   m1          in   how many of them are inequalities; they come first
 *   A           in   (lda, m) gradients of the general rows; null allowed when m < 1
 *   lda         in   leading dimension of A, lda >= n
 *   b           in   (m) right-hand sides, minus the function values in the optimizers; null
 *                    allowed when m < 1
 *   H           in   (ldh, n) positive definite; only the upper triangle is read
 *   ldh         in   leading dimension of H, ldh >= n
 *   g           in   (n) objective gradient
 *   codes       in   (n) bound codes
 *   dl          in   (n) lower limits of d; read for codes 1 and 2
 *   du          in   (n) upper limits of d; read for codes 1 and 3
 *   d           out  (n) solution
 *   XLAG        out  (n) multipliers of the active rows, in IACT order; those of equalities may
 *                    have either sign
 *   IACT        out  (n) active rows: general rows 1..m, bound rows m+1..m+nb. A mirrored
 *                    equality is reported as its equality, multiplier negated.
 *   nact        out  number of active rows
 *   noSolution  out  logical: no feasible point, or the bound on the number of steps was reached.
 *                    The results are then those of the last iterate.
 *   notPosDef   out  logical: a pivot of H is not at least zeroTol; d, XLAG, IACT undefined
 *   failure     out  logical: storage exhausted, or breakdown of the factor of N'H^-1 N (at
 *                    printLevel > 0 a message with "SHOULD NOT HAPPEN")
 *
 * Storage 2n + nb + 2m - m1 + n(n+1) + n^2 doubles. A failed request prints its message at every
 * print level and writes nothing but the flags; errorFlag stays as it is.
 *
 * Pivots, curvatures and steps are compared with the absolute zeroTol: with H above about 1e7 a
 * single bound row has too little curvature, 1/H, to be added, and noSolution is set although a
 * solution exists. Scale the objective. */
VRK_API void QPSOLV(const int32_t* n, const int32_t* m, const int32_t* m1, const double* A,
                    const int32_t* lda, const double* b, const double* H, const int32_t* ldh,
                    const double* g, const int32_t* codes, const double* dl, const double* du,
                    double* d, double* XLAG, int32_t* IACT, int32_t* nact, int32_t* noSolution,
                    int32_t* notPosDef, int32_t* failure);

/* Start: packs and factors H, and finds the unconstrained minimum d = -H^-1 g.
 *   H          in   (ldh, n) upper triangle read
 *   ldh        in   leading dimension of H, ldh >= n
 *   g          in   (n) objective gradient
 *   P          out  packed, n(n+1)/2: U'DU factor of H
 *   d          out  (n) unconstrained minimum; undefined when notPosDef
 *   notPosDef  out  logical: a pivot is not at least zeroTol */
VRK_API void QPSINI(const int32_t* n, const double* H, const int32_t* ldh, const double* g,
                    double* P, double* d, int32_t* notPosDef);

/* Residuals of all rows at d.
 *   b       in   (m) right-hand sides of the general rows; null allowed when m < 1
 *   dl, du  in   (n) lower and upper limits of d
 *   d       in   (n) point
 *   res     out  (m + nb + m - m1) residuals, positive when violated */
VRK_API void QPSCON(const int32_t* n, const int32_t* m, const int32_t* m1, const double* A,
                    const int32_t* lda, const double* b, const int32_t* codes, const int32_t* nb,
                    const double* dl, const double* du, const double* d, double* res);

/* Row to add: the largest residual above zeroTol, the first of equals, among the rows that are not
 * active and whose partner (equality and mirror) is not active.
 *   res  in   (m + nb + m - m1) residuals, of QPSCON
 *   p    out  row number; 0 when no row qualifies: d is optimal */
VRK_API void QPSVIO(const int32_t* m, const int32_t* m1, const int32_t* nb, const double* res,
                    const int32_t* nact, const int32_t* IACT, int32_t* p);

/* Directions per unit multiplier of row p, whose gradient is n_p:
 *     w = H^-1 n_p,   (N'H^-1 N) r0 = N'w,   z = -(w - H^-1 N r0),   r = -r0.
 * Moving d along z keeps the residuals of the active rows, and n_p'z <= 0. Without active rows
 * z = -w; with nact = n, z = 0. When nact < n the column that would border the factors is left
 * ready: w in W(:, nact+1), and column nact+1 of T, reduced, its new pivot on the diagonal.
 *   r  out  (nact) change of the active multipliers
 *   z  out  (n) change of d */
VRK_API void QPSDIR(const int32_t* p, const int32_t* n, const int32_t* m, const int32_t* m1,
                    const int32_t* nb, const double* A, const int32_t* lda, const int32_t* codes,
                    const double* P, double* W, const int32_t* nact, const int32_t* IACT, double* T,
                    double* r, double* z);

/* Step length:
 *     t1 = min of -XLAG(k)/r(k) over r(k) < -zeroTol   (k drops; of equals the last),
 *     t2 = -s/q  when curvature > zeroTol and |q| > zeroTol,
 * The full step is taken when t2 <= t1. Either may be negative: along a curvature within zeroTol
 * only the dual step exists, which may pass the row's limit by far; the next step returns to it.
 *   r          in   (nact) of QPSDIR
 *   q          in   n_p'z, negative
 *   curvature  in   z'H z, the curvature along z; -q when z comes from QPSDIR
 *   s          in   residual of row p
 *   t          out  step length; 0 when kind is 0
 *   kind       out  3 full step; 2 partial step, a full one exists; 1 partial step, no full one
 *                   exists; 0 neither exists: the problem has no feasible point
 *   k          out  nact + 1 for the full step, else the position of the row to drop; 0 when kind
 *                   is 0 */
VRK_API void QPSLEN(const int32_t* n, const int32_t* nact, const double* XLAG, const double* r,
                    const double* q, const double* curvature, const double* s, double* t,
                    int32_t* kind, int32_t* k);

/* Step of any kind:  d := d + t z,   XLAG := XLAG + t r,   up := up + t.
 *   t     in      step length
 *   z     in      (n) of QPSDIR
 *   d     in/out  (n) point
 *   r     in      (nact) of QPSDIR
 *   XLAG  in/out  (nact) multipliers */
VRK_API void QPSSTP(const int32_t* n, const double* t, const double* z, double* d,
                    const int32_t* nact, const double* r, double* XLAG, double* up);

/* Adds or drops an active row and brings W, T, IACT and XLAG up to date.
 *     k = nact + 1   appends row p with the multiplier up. W(:, nact+1) must hold H^-1 n_p
 *                    (QPSDIR leaves it there); the new column of T is formed from W and the
 *                    gradients. Fails when nact = n, or when the new pivot is below zeroTol: the
 *                    row then depends on the active ones.
 *     k <= nact      drops the row at position k; later entries move up one place, and T is
 *                    corrected from k on by a rank-one update. p and up are not read.
 * A failure prints, at printLevel > 0, one of the messages with "SHOULD NOT HAPPEN".
 * Source: Gill, Golub, Murray & Saunders, Math. Comp. 28 (1974) 505-535.
 *   nact     in/out  number of active rows
 *   W, T     in/out  as above; when a row is dropped the later columns of W move up one place,
 *                    the bordering one (nact+1) included
 *   IACT     in/out  (n) active rows
 *   XLAG     in/out  (n) multipliers
 *   up       in      multiplier of row p
 *   k        in      position, 1..nact + 1
 *   failure  out     logical: breakdown; nact, IACT and XLAG are then unchanged */
VRK_API void QPSDOA(int32_t* nact, const int32_t* n, const int32_t* m, const int32_t* m1,
                    const int32_t* nb, const int32_t* codes, const double* A, const int32_t* lda,
                    double* W, double* T, int32_t* IACT, double* XLAG, const int32_t* p,
                    const double* up, const int32_t* k, int32_t* failure);

/* Factors a packed symmetric matrix as U'DU in place, without pivoting. Columns 1..k0-1 hold a
 * factor already; k0 = n + 1 does nothing. Stops at the first pivot that is not at least zeroTol:
 * the columns before it are factored, its own is left partly reduced.
 *   P     in/out  packed, n(n+1)/2: matrix, then factor
 *   n     in      order
 *   k0    in      first column to factor, 1 for the whole matrix
 *   fail  out     logical: not positive definite */
VRK_API void QPSTRI(double* P, const int32_t* n, const int32_t* k0, int32_t* fail);

/* Solves (U'DU) z = x. The pivots are not tested. n < 1: nothing is done.
 *   P  in      packed factor made by QPSTRI
 *   x  in/out  (n) right-hand side, then solution
 *   n  in      order */
VRK_API void QPSSOL(const double* P, double* x, const int32_t* n);

/* One component of the gradient of a constraint row:
 *     r <= meq               A(i, r)
 *     meq < r <= meq + nb    bound row: +1, -1 or 0, by the bound codes as above
 *     above                  -A(i, r - meq - nb + off).
 * With meq = m and off = m1 these are QPSOLV's internal rows.
 *   r      in   row number
 *   i      in   component, 1..n
 *   val    out  its value
 *   n      in   number of variables
 *   meq    in   number of rows ahead of the bound rows
 *   off    in   column of A before the first negated one
 *   nb     in   number of bound rows
 *   A      in   (lda, .) gradients
 *   lda    in   leading dimension of A, lda >= n
 *   btype  in   (n) bound codes */
VRK_API void QPSGRA(const int32_t* r, const int32_t* i, double* val, const int32_t* n,
                    const int32_t* meq, const int32_t* off, const int32_t* nb, const double* A,
                    const int32_t* lda, const int32_t* btype);

/* ------------------------------------------------------------------------------------------------
 * Sequential quadratic programming
 *
 * Below, M = mi + me general constraints (inequalities first), L = M + 2n, nfun = 1 + M.
 * --------------------------------------------------------------------------------------------- */

/* The iteration behind VRK_sqp, in scaled variables, with work arrays of the caller. Each
 * iteration: gradients by differences; B updated by QHESS (set by SQPHIN in the first iteration
 * and after a subproblem without solution); direction d by QPSOLV; convergence test; penalty
 * weights mu := max(|lambda|, (mu + |lambda|)/2); at most 5 trials on the merit function
 *     f + sum mu_i max(0, g_i) + sum mu_i |h_i|,
 * each shortened by SQPPR2's parabola. Sources as given at VRK_sqp. Further scratch from the work
 * storage: 2 nfun + 1 doubles for the gradients, and QPSOLV's.
 *   maxIter        in      iteration limit; below 1: one evaluation, status 2
 *   n              in      number of variables
 *   x              in/out  (n) scaled point: start, then the last accepted one
 *   nfun           in      number of functions
 *   F              in/out  (nfun) function values
 *   iobj           in      position of the objective in F
 *   mi, ineqList   in      (mi) positions of the inequalities in F
 *   me, eqList     in      (me) positions of the equalities in F
 *   count          out     L
 *   lambda         work    (L) multipliers by row: inequalities, equalities, bound rows
 *   mu             work    (L) penalty weights; the first M are used
 *   XLAG           work    (L) multipliers of the active rows, in IACT order
 *   gradients      work    (n, nfun) inequalities, equalities, objective
 *   rhs            work    (M) constraint values gathered as right-hand sides of the subproblem
 *   B              work    (n, n) Hessian approximation of the Lagrangian
 *   gObj           work    (n) objective gradient
 *   d              work    (n) search direction
 *   xSaved         work    (n) point before the line search
 *   dLower, dUpper work    (n) limits of d: bound minus point
 *   lagrangianOld, lagrangianNew   work  (n) Lagrangian gradients, old and new, same multipliers
 *   dvdel, gradel  work    (n) change of the point and of the Lagrangian gradient
 *   w1, w2, w3     work    (n) scratch of QHESS
 *   spare1, spare2 work    (n) not assigned
 *   IACT           work    (L) active rows of the subproblem
 *   columnMap      work    (nfun) column in gradients by position in F
 *   codes          work    (n) bound codes, all 1
 *   xLower, xUpper in      (n) scaled bounds; -1 and 1 in a solve call
 *   status         out     a VRK_SQP_ value. Storage exhausted by the gradients: 7, and errorFlag
 *                          is set; for the subproblem: 6. */
VRK_API void SQPALG(const int32_t* maxIter, const int32_t* n, double* x, const int32_t* nfun,
                    double* F, const int32_t* iobj, const int32_t* mi, const int32_t* ineqList,
                    const int32_t* me, const int32_t* eqList, int32_t* count, double* lambda,
                    double* mu, double* XLAG, double* gradients, double* rhs, double* B,
                    double* gObj, double* d, double* xSaved, double* dLower, double* dUpper,
                    double* lagrangianOld, double* lagrangianNew, double* dvdel, double* gradel,
                    double* w1, double* w2, double* w3, double* spare1, double* spare2,
                    int32_t* IACT, int32_t* columnMap, int32_t* codes, const double* xLower,
                    const double* xUpper, int32_t* status);

/* Lowest point of the parabola through (a1, f1) with slope g1 there and through (a2, f2):
 *     c = (f2 - f1 + (a1 - a2) g1) / ((a1 - 2 a2) a1 + a2 a2),
 *     astar = min(a2, max(0, a1 - g1 / (2c))),   0 unless |c| > zeroTol.
 *   a1, f1, g1  in   abscissa, value and slope
 *   a2, f2      in   abscissa and value
 *   astar       out  abscissa of the vertex, held in 0..a2 */
VRK_API void SQPPR2(const double* a1, const double* a2, const double* f1, const double* f2,
                    const double* g1, double* astar);

/* SQPALG with every work array from the work storage. Here the first group are the equalities, the
 * second the inequalities; SQPALG gets them the other way round. With me = m1, mi = m2 it takes
 *     doubles   D = 1 + 3L + n nfun + M + n^2 + 14n
 *     integers  I = 1 + L + nfun + n
 * and SQPALG and QPSOLV their scratch above that. A failed request prints its message at every
 * print level and sets status 7, not errorFlag; nothing is evaluated. After a failed request for
 * doubles intStorageUsed holds the total D that was needed until VRK_setDefaults; a failed request
 * for integers leaves both marks as they were.
 *   maxIter         in      iteration limit
 *   n               in      number of variables
 *   x               in/out  (n) scaled point
 *   xLower, xUpper  in      (n) scaled bounds
 *   nfun            in      number of functions
 *   F               in/out  (nfun) function values
 *   iobj            in      position of the objective in F
 *   m1, list1       in      (m1) positions of the equalities in F
 *   m2, list2       in      (m2) positions of the inequalities in F
 *   status          out     a VRK_SQP_ value */
VRK_API void SQSALG(const int32_t* maxIter, const int32_t* n, double* x, const double* xLower,
                    const double* xUpper, const int32_t* nfun, double* F, const int32_t* iobj,
                    const int32_t* m1, const int32_t* list1, const int32_t* m2,
                    const int32_t* list2, int32_t* status);

/* ------------------------------------------------------------------------------------------------
 * Reduced gradients: the iteration
 *
 * Mode of the feasibility phase, argument mode or feasMode, here and below; k is the position in f
 * of the function that is minimized, the objective or a violated constraint in its place:
 *     0  the objective
 *     1  a violated inequality
 *     2  a violated equality, its value positive
 *     3  a violated equality whose value is negative; every f(k) in memory, and its gradient, is
 *        then the negated one, so that reducing it moves the equality towards 0. Each evaluation
 *        negates afresh: f(k) := 0.0 - f(k).
 * An inequality is violated when g > convTol, active when |g| <= convTol; an equality is satisfied
 * when |h| <= convTol. Directions and gradients are with respect to the scaled variables, and step
 * lengths count along a direction of unit length: alpha is a Euclidean distance of scaled points.
 *
 * The two bound arrays come as (xLower, xUpper) in GRSALG, GRGALG, GRGSAT and GRSSAT, as (lower,
 * upper) in GRGINJ, GRSINJ, GRGNR and GRSNR, but as (xUpper, xLower) in GRSQP, GRGSTE, GRSSTE and
 * GRGSTP, and as (upper, lower) in GRGIDV and GRGDDV. Swapped arrays are not noticed.
 *
 * Sources: Abadie & Carpentier in Fletcher (ed.), Optimization, Academic Press 1969, 37-47;
 * Lasdon, Waren, Jain & Ratner, ACM Trans. Math. Softw. 4 (1978) 34-50.
 * --------------------------------------------------------------------------------------------- */

/* The iteration behind VRK_grg, in scaled variables. Each iteration: GRGCON's classification; while
 * a constraint is violated the worst one becomes a temporary objective; gradients by GRGGRA; the
 * Hessian updated by QHESS, or set to GRGGRA's gScale times the identity (in the first iteration,
 * and after a change of objective, a rejected update, a direction outside a tangent plane or a
 * Hessian that is not positive definite); direction by GRSQP; convergence test; search by GRGSTE.
 * Storage n^2 + 8n + 1 doubles and nIneq + min(n, nIneq) + nEq + m + n integers for GRGALG's
 * arrays, and GRGALG's scratch above them. The total is given at VRK_grg.
 *   maxIter          in      iteration limit; below 1: status 6, nothing is evaluated
 *   n                in      number of variables
 *   x                in/out  (n) scaled point: start, then the last accepted one
 *   xLower, xUpper   in      (n) scaled bounds; -1 and 1 in a solve call
 *   m                in      number of functions, 1 + nEq + nIneq
 *   f                in/out  (m) function values. They must be those at x on entry: the start is
 *                            not evaluated again. Those at x on return, none of them negated.
 *   objIndex         in      position of the objective in f
 *   nEq, eqList      in      (nEq) positions of the equalities in f
 *   nIneq, ineqList  in      (nIneq) positions of the inequalities in f
 *   status           out     a VRK_GRG_ value other than VRK_GRG_STORAGE. When storage runs out,
 *                            errorFlag is set and status is left as it was. */
VRK_API void GRSALG(const int32_t* maxIter, const int32_t* n, double* x, const double* xLower,
                    const double* xUpper, const int32_t* m, double* f, const int32_t* objIndex,
                    const int32_t* nEq, const int32_t* eqList, const int32_t* nIneq,
                    const int32_t* ineqList, int32_t* status);

/* GRSALG with arrays of the caller. Scratch from the work storage: with c = (non-violated
 * inequalities) + (satisfied equalities) + 1, n c doubles for the gradients; above them in turn
 * 2m + 2 doubles (GRGGRA), 3n + 1 doubles (QHESS), GRSQP's and GRSSTE's. A failed request ends the
 * solve with status as it was. With maxIter < 1 nothing but status is written.
 *   GRADOB      work  (n) gradient of what is minimized
 *   GRADLO      work  (n) Lagrangian gradient at the previous point, with the previous multipliers
 *   GRADL       work  (n) at the present point, with the same multipliers
 *   XLAG        work  (n) multipliers of the active rows, in IACT order
 *   HESSIAN     work  (n, n) Hessian approximation of the Lagrangian
 *   xOld        work  (n) point before the line search
 *   s, y        work  (n) change of the point, and of the Lagrangian gradient
 *   direction   work  (n) direction of the subproblem, then divided by its length
 *   keepList    work  (nIneq) inequalities that are not violated
 *   activeList  work  (min(n, nIneq)) active ones among them, the first ones that fit
 *   eqSatList   work  (nEq) satisfied equalities
 *   LISDF       work  (m) column of each function in the gradient matrix, 0 none
 *   IACT        work  (n) active rows of the subproblem */
VRK_API void GRGALG(const int32_t* maxIter, const int32_t* n, double* x, const double* xLower,
                    const double* xUpper, const int32_t* m, double* f, const int32_t* objIndex,
                    const int32_t* nEq, const int32_t* eqList, const int32_t* nIneq,
                    const int32_t* ineqList, int32_t* status, double* GRADOB, double* GRADLO,
                    double* GRADL, double* XLAG, double* HESSIAN, double* xOld, double* s,
                    double* y, double* direction, int32_t* keepList, int32_t* activeList,
                    int32_t* eqSatList, int32_t* LISDF, int32_t* IACT);

/* Direction of the iteration, by QPSOLV:
 *     minimize    g'd + d'H d / 2
 *     subject to  a_c'd <= -f(c)  c in keepList,    a_c'd = -f(c)  c in eqSatList,
 *                 xLower - x <= d <= xUpper - x.
 * Storage nKeep + nEqSat + 2n + 1 doubles and n + 1 integers, and QPSOLV's above them.
 *   n                  in      number of variables
 *   nKeep, keepList    in      (nKeep) positions of the inequalities in f
 *   nEqSat, eqSatList  in      (nEqSat) positions of the equalities in f
 *   f                  in      function values at x
 *   x                  in      (n) scaled point
 *   xUpper, xLower     in      (n) scaled bounds, the upper ones first
 *   G                  in      (n, nKeep + nEqSat) gradients in the order of the two lists
 *   HESSIAN            in      (n, n) positive definite; only the upper triangle is read
 *   d                  out     (n) direction, not normalized
 *   GRADOB             in      (n) gradient g of what is minimized
 *   XLAG, IACT, nact   out     (n) multipliers, (n) active rows, their number: as QPSOLV's
 *   status             in/out  8, 9 or 10 when QPSOLV sets noSolution, notPosDef or failure;
 *                              otherwise left as it is, after a failed storage request too */
VRK_API void GRSQP(const int32_t* n, const int32_t* nKeep, const int32_t* keepList,
                   const int32_t* nEqSat, const int32_t* eqSatList, const double* f,
                   const double* x, const double* xUpper, const double* xLower, const double* G,
                   const double* HESSIAN, double* d, const double* GRADOB, double* XLAG,
                   int32_t* IACT, int32_t* nact, int32_t* status);

/* ------------------------------------------------------------------------------------------------
 * Reduced gradients: classification and prediction
 * --------------------------------------------------------------------------------------------- */

/* Sorts the constraints at a point and picks what is minimized while one is violated:
 *     no violated constraint         feasMode := 0; f(tempObj) is negated back when it was 3
 *     tempObj is still violated      kept; a value below -convTol in mode 2 or 3 (the equality has
 *                                    overshot) swaps these modes and negates f(tempObj)
 *     tempObj is 0, or reached       the worst inequality (mode 1) when its violation exceeds that
 *                                    of every equality, else the worst equality (mode 2; 3, with
 *                                    f(tempObj) negated, when its value is at most 0)
 * Reached means f(tempObj) <= convTol in mode 1, |f(tempObj)| <= convTol in any mode. The first of
 * equal violations counts. A value that is not a number is neither violated nor satisfied.
 *
 * Screening, when grgParam1 <= 0.99 and nIneq > 25: keepList goes through a pass in which every
 * later entry with a strictly larger value overwrites an earlier one, without an exchange, so that
 * entries are lost and others stand twice; then nKeep := nActive + (nKeep - nActive) grgParam1, the
 * product truncated.
 *
 * The iteration differs in three points: it undoes the negation before it picks another temporary
 * objective, sets tempObj to 0 once nothing is violated, and lists at most min(n, nIneq) active
 * inequalities.
 *   nIneq, ineqList      in      (nIneq) positions of the inequalities in f
 *   nEq, eqList          in      (nEq) positions of the equalities in f
 *   f                    in/out  function values at the point; f(tempObj) may change its sign
 *   nKeep, keepList      out     (nIneq) inequalities that are not violated, in list order
 *   nActive, activeList  out     (nIneq) the active ones among them
 *   nEqSat, eqSatList    out     (nEq) equalities that are satisfied
 *   tempObj              in/out  position in f of the temporary objective, 0 for none; not 0 in
 *                                mode 3
 *   feasMode             in/out  mode, see above */
VRK_API void GRGCON(const int32_t* nIneq, const int32_t* ineqList, const int32_t* nEq,
                    const int32_t* eqList, double* f, int32_t* nKeep, int32_t* keepList,
                    int32_t* nActive, int32_t* activeList, int32_t* nEqSat, int32_t* eqSatList,
                    int32_t* tempObj, int32_t* feasMode);

/* Independent variables at a step length, held within the bounds:
 *     xOut(i) := xBase(i) + (alpha - tBase) d(i),  projected on lower(i)..upper(i), i in indepList.
 * A value exactly on a bound is not projected. nIndep < 1: nothing is done.
 *   nIndep, indepList  in      (nIndep) variable numbers
 *   upper, lower       in      (n) scaled bounds, the upper ones first
 *   alpha              in      step length
 *   d                  in      (n) direction
 *   xOut               in/out  (n) point; the listed entries are written
 *   xBase              in      (n) point at the step tBase
 *   tBase              in      its step length
 *   allAtBound         in/out  -1 when every listed variable was projected, else left as it is */
VRK_API void GRGIDV(const int32_t* nIndep, const int32_t* indepList, const double* upper,
                    const double* lower, const double* alpha, const double* d, double* xOut,
                    const double* xBase, const double* tBase, int32_t* allAtBound);

/* Dependent variables at a step length, predicted: along the line through xPrev and xBase when
 * |tBase - tPrev| > zeroTol, otherwise along the tangent,
 *     p = alpha s + c,   s = (xBase(i) - xPrev(i))/(tBase - tPrev),   c = xBase(i) - tBase s,
 *     p = (alpha - tBase) dxdt(i) + xBase(i).
 * A p within zeroTol of a bound, or beyond it, is put on the bound and the variable blocks. Its
 * step t is where the line meets the bound that it runs to,
 *     t = (upper(i) - c)/s  for s > zeroTol,   (lower(i) - c)/s  for s < -zeroTol;
 * along the tangent it is where the value reaches zero, not a bound, and may be negative,
 *     t = (0 - xBase(i))/dxdt(i) + tBase  for |dxdt(i)| > zeroTol;
 * bigValue otherwise. The line search requires the step of the bound and passes an artificial xPrev
 * one step back on the tangent: xPrev = xBase - dxdt, tPrev = tBase - 1.
 *   nDep, depList  in      (nDep) variable numbers; nDep < 1: only blockIndex, blockStep are set
 *   upper, lower   in      (n) scaled bounds, the upper ones first
 *   alpha          in      step length
 *   dxdt           in      (n) tangent: change of each variable per unit step
 *   xOut           in/out  (n) point; the listed entries are written
 *   xBase, xPrev   in      (n) the latest point, and the one before it
 *   tBase, tPrev   in      their step lengths
 *   blockIndex     out     the variable with the smallest t, the first of equals; 0 when none
 *                          blocks at a t below bigValue
 *   blockStep      out     its t; bigValue when blockIndex is 0 */
VRK_API void GRGDDV(const int32_t* nDep, const int32_t* depList, const double* upper,
                    const double* lower, const double* alpha, const double* dxdt, double* xOut,
                    const double* xBase, const double* xPrev, const double* tBase,
                    const double* tPrev, int32_t* blockIndex, double* blockStep);

/* ------------------------------------------------------------------------------------------------
 * Reduced gradients: the basis and its inverse
 *
 * Every constraint that is held has a dependent variable. With row(i) the function number of the
 * i-th such constraint and dep(j) the j-th dependent variable,
 *     JAC(i, j) = G(dep(j), colMap(row(i))),     XJINV = inverse of JAC.
 * The inverse grows by bordering: with the corner a, the new row z, the new column u,
 *     w = XJINV u,   y = XJINV'z,   delta = a - z'w,
 *     XJINV := ( XJINV + w y'/delta   -w/delta )
 *              (        -y'/delta      1/delta ).
 * |delta| <= zeroTol is singular.
 * --------------------------------------------------------------------------------------------- */

/* Chooses a dependent variable for each row and forms the inverse. The rows are taken in order; for
 * each of them, function c, the remaining candidates v are sorted by decreasing score
 *     |G(v, colMap(c))| weight(q),   q = dist / (upper(v) - lower(v)),
 *     weight = q, but q + (1 - q) 4.75 - 0.95f where 1 - q <= 0.2
 * (0.95f: the single-precision value), and the first one with |delta| > zeroTol becomes dependent.
 * dist is the distance from the bound that v moves towards: the upper one for moveDir(v) > 1e-5,
 * the lower one for moveDir(v) < -1e-5, else the nearer one. Equal bounds give the score 0. A row
 * for which no candidate works is dropped; so is every row once nDep = ldInv. No rows: nIndep = n,
 * nDep = 0, both lists 1..n, and nothing else. Storage 2 nDep + 1 doubles for each candidate tried;
 * a failed request returns with the first nDep rows accepted, the others still listed and JAC not
 * filled.
 *   nRows1, rowList1  in    (nRows1) positions in f of the first rows; each must have a column
 *   nRows2, rowList2  in    (nRows2) of the rows behind them
 *   n                 in    number of variables
 *   x                 in    (n) scaled point
 *   lower, upper      in    (n) scaled bounds, the lower ones first
 *   G                 in    (n, .) gradients
 *   colMap            in    (m) column of each function in G
 *   moveDir           in    (n) direction of motion of each variable
 *   nIndep, indepList out   (n) independent variables, in increasing order
 *   nDep              out   number of dependent variables
 *   varList           out   (n) 1..nDep: the dependent variables in row order; then the others
 *   ldInv             in    leading dimension of XJINV and JAC: the rows that can be held. The
 *                           smaller of n and nRows1 + nRows2 holds all.
 *   nRows, rowList    out   (nRows1 + nRows2) rows that were accepted, in order; nRows = nDep
 *   XJINV, JAC        out   (ldInv, ldInv) inverse and Jacobian, leading nDep by nDep block
 *   u, z, score       work  (n) each
 * GRSINJ takes u, z and score from the work storage: 3n + 1 doubles. A failed request writes
 * nothing. */
VRK_API void GRGINJ(const int32_t* nRows1, const int32_t* rowList1, const int32_t* nRows2,
                    const int32_t* rowList2, const int32_t* n, const double* x, const double* lower,
                    const double* upper, const double* G, const int32_t* colMap,
                    const double* moveDir, int32_t* nIndep, int32_t* indepList, int32_t* nDep,
                    int32_t* varList, const int32_t* ldInv, int32_t* nRows, int32_t* rowList,
                    double* XJINV, double* JAC, double* u, double* z, double* score);
VRK_API void GRSINJ(const int32_t* nRows1, const int32_t* rowList1, const int32_t* nRows2,
                    const int32_t* rowList2, const int32_t* n, const double* x, const double* lower,
                    const double* upper, const double* G, const int32_t* colMap,
                    const double* moveDir, int32_t* nIndep, int32_t* indepList, int32_t* nDep,
                    int32_t* varList, const int32_t* ldInv, int32_t* nRows, int32_t* rowList,
                    double* XJINV, double* JAC);

/* One bordering step, see above: the inverse of order k becomes that of order k + 1.
 *   ld        in      leading dimension of XJINV, ld >= k + 1
 *   k         in      present order, 0 or more
 *   a         in      corner
 *   z, u      in      (k) new row; new column
 *   XJINV     in/out  (ld, k + 1) inverse; unchanged when singular
 *   singular  out     logical: |delta| <= zeroTol
 *   w, y      work    (k) each
 * GRSJIA takes w and y from the work storage: 2k + 1 doubles. A failed request sets singular. */
VRK_API void GRGJIA(const int32_t* ld, const int32_t* k, const double* a, const double* z,
                    const double* u, double* XJINV, int32_t* singular, double* w, double* y);
VRK_API void GRSJIA(const int32_t* ld, const int32_t* k, const double* a, const double* z,
                    const double* u, double* XJINV, int32_t* singular);

/* Broyden's update of a Jacobian after a full Newton step:
 *     JAC := JAC - r s'/(s's).
 * Does nothing unless s's > zeroTol. At printLevel 3 the new JAC is printed ("UPDATED JACOBIAN").
 * Its companion for the inverse is GRGBUP. Source: Broyden, Math. Comp. 19 (1965) 577-593.
 *   ld   in      leading dimension of JAC, ld >= k
 *   k    in      order
 *   JAC  in/out  (ld, k) Jacobian of the rows with respect to the dependent variables
 *   s    in      (k) Newton step
 *   r    in      (k) minus the function values after it */
VRK_API void GRGJUP(const int32_t* ld, const int32_t* k, double* JAC, const double* s,
                    const double* r);

/* Inverse of a given Jacobian by elimination with row interchanges. A failure prints "ERROR IN
 * GRGIJI, SINGULAR" when printLevel > 0 and leaves XJINV unfinished.
 *   ld        in    leading dimension of JAC and XJINV, ld >= k
 *   k         in    order; below 1 only singular is set
 *   JAC       in    (ld, k) matrix
 *   XJINV     out   (ld, k) its inverse
 *   singular  out   logical: a pivot with |delta| <= zeroTol
 *   w, y      work  (k) each; y is not touched
 * GRSINV takes w and y from the work storage: 2k + 1 doubles. A failed request sets singular. */
VRK_API void GRGINV(const int32_t* ld, const int32_t* k, const double* JAC, double* XJINV,
                    int32_t* singular, double* w, double* y);
VRK_API void GRSINV(const int32_t* ld, const int32_t* k, const double* JAC, double* XJINV,
                    int32_t* singular);

/* ------------------------------------------------------------------------------------------------
 * Reduced gradients: restoration of feasibility
 * --------------------------------------------------------------------------------------------- */

/* Newton's iteration on the constraints that are held, until |f(c)| <= convTol for c in rowList:
 *     dx = -JINV f(rowList),   x(depList(i)) := x(depList(i)) + dx(i),   evaluate.
 * At most maxIter times, one evaluation each; the values of the last one are not tested any more.
 *
 * A step row, i > nDep or depList(i) = stepVar, moves the step length instead:
 *     alpha := alpha + dx(i), and the independent variables are put where GRGIDV has them at alpha.
 * When stepVar = 0 the dependent variables go along, each by dx(i) times its rate, which is
 * (xBase - xPrev)/(tBase - tPrev) where |tBase - tPrev| > zeroTol, else dir; then the variable
 * depList(i) is held within its bounds.
 *
 * With broyden both matrices are brought up to date after every evaluation, by the rules of GRGBUP
 * and GRGJUP with r = -f(rowList) and the step dx; otherwise they stay as they are.
 *
 * It gives up, converged false, when the sum of |dx(i)| exceeds the one before or is not a number,
 * when a dependent variable comes to its bound (a value equal to the lower one counts, one equal to
 * the upper one does not), or when a step row has projected every independent variable. x then
 * holds the correction, not evaluated, and f the values before it.
 *
 * nNewton1 counts the calls that took a step, nNewton2 the evaluations. Storage with broyden
 * 2 nRows + 1 doubles for each update; a failed request ends the call, converged false.
 * Sources: Abadie & Carpentier (1969); Broyden (1965), as above.
 *   mode             in      3 negates f(k) of every evaluation
 *   broyden          in      logical: update JINV and JAC
 *   maxIter          in      most iterations; below 1 only converged (0) and iter (1) are set
 *   n                in      leading dimension of JINV and JAC, n >= nRows (the variables are nVar)
 *   nRows, rowList   in      (nRows) positions in f of the constraints
 *   JINV             in/out  (n, nRows) inverse of their Jacobian; the unknown of a step row is
 *                            the step length
 *   JAC              in/out  (n, nDep) Jacobian, leading nDep by nDep block
 *   stepVar          in      number of the variable whose row is a step row, 0 for none
 *   nIndep, indepList in     (nIndep) independent variables
 *   nDep             in      number of dependent variables, at most nRows
 *   depList          in      (nRows) variable of each row; one behind nDep is read when stepVar = 0
 *   dir              in      (nVar) direction; tangent in the dependent variables
 *   nVar             in      number of variables
 *   x                in/out  (nVar) scaled point
 *   lower, upper     in      (nVar) scaled bounds, the lower ones first
 *   nFun             in      number of functions
 *   f                in/out  (nFun) function values; those at x on entry
 *   k                in      position in f; read when mode = 3 only
 *   xBase, xPrev     in      (nVar) point from which the independent variables are counted; another
 *                            point, for the secant
 *   tBase, tPrev     in      their step lengths
 *   alpha            in/out  step length of x
 *   allAtBound       in/out  -1 when a step row projected every independent variable, else left
 *   converged        out     logical
 *   iter             out     the last iteration begun, maxIter + 1 when all were done in vain
 *   dx               work    (nRows) last correction
 *   r                work    (nRows) minus the values of the last update
 * GRSNR takes dx and r from the work storage: 2 nRows + 1 doubles. A failed request clears
 * converged. */
VRK_API void GRGNR(const int32_t* mode, const int32_t* broyden, const int32_t* maxIter,
                   const int32_t* n, const int32_t* nRows, const int32_t* rowList, double* JINV,
                   double* JAC, const int32_t* stepVar, const int32_t* nIndep,
                   const int32_t* indepList, const int32_t* nDep, const int32_t* depList,
                   const double* dir, const int32_t* nVar, double* x, const double* lower,
                   const double* upper, const int32_t* nFun, double* f, const int32_t* k,
                   const double* xBase, const double* xPrev, const double* tBase,
                   const double* tPrev, double* alpha, int32_t* allAtBound, int32_t* converged,
                   int32_t* iter, double* dx, double* r);
VRK_API void GRSNR(const int32_t* mode, const int32_t* broyden, const int32_t* maxIter,
                   const int32_t* n, const int32_t* nRows, const int32_t* rowList, double* JINV,
                   double* JAC, const int32_t* stepVar, const int32_t* nIndep,
                   const int32_t* indepList, const int32_t* nDep, const int32_t* depList,
                   const double* dir, const int32_t* nVar, double* x, const double* lower,
                   const double* upper, const int32_t* nFun, double* f, const int32_t* k,
                   const double* xBase, const double* xPrev, const double* tBase,
                   const double* tPrev, double* alpha, int32_t* allAtBound, int32_t* converged,
                   int32_t* iter);

/* ------------------------------------------------------------------------------------------------
 * Reduced gradients: saturation of a trial step
 * --------------------------------------------------------------------------------------------- */

/* What becomes of a trial step. At most 4 passes of
 *     1. Crossing: for every inequality of keepList without its LTRAK flag and with f > convTol,
 *        the step at which it reaches convTol (GRGINT, from s0 to s1); the smallest counts, the
 *        first of equals. In mode 2 and 3 a change of sign of f(k) is the first candidate.
 *     2. A crossing before blockStep, the step of the blocking variable: the step is cut to it, by
 *        at least 0.001, and the constraint is held from here on: with a new dependent variable,
 *        the independent one with GRGINJ's highest score; if that is singular or does not converge,
 *        with the step length as the unknown of its row. Refined (tarnix_session_refine), if
 *        both are singular: the constraint may follow from the rows that are held; the uncut step
 *        is kept if restoring these satisfies all constraints, and the constraint is flagged
 *        without a row of its own.
 *     3. Otherwise, when a variable blocks: the step becomes blockStep, and the variable leaves the
 *        basis for the independent one with the largest |pivot| times distance from its bounds. A
 *        step within zeroTol of blockStep is left alone.
 *     4. Test: g <= convTol in keepList and MTRAK, |h| <= convTol in eqSatList, f(k) >= -convTol in
 *        mode 2 and 3. If it fails and nothing was restored in 2 or 3: GRGNR on the rows; where
 *        that fails, once more with dependent variables exchanged for others with much larger
 *        pivots; then, or where it has nothing to do, the step is halved towards s0, 5 times in
 *        all.
 * until the test holds or the step is 0, the base point. GRGNR runs with the limit 7 and broyden;
 * where the step length is an unknown, every variable that it moves is held within the bounds. At
 * most 148 evaluations, none at a point that is not finite. What fails sets terminate and, at
 * printLevel > 0, prints its message; x, f, s1 and the lists are then those of the last state
 * reached.
 * Storage 2 nDep + 1 doubles for a new row, and GRGNR's; a failed request sets terminate too.
 *   feasMode, k         in      mode; position in f of the function that is minimized
 *   n, m                in      number of variables, of functions
 *   x, f                in/out  (n), (m) trial point and its values; then those at the step taken
 *   xLower, xUpper      in      (n) scaled bounds, the lower ones first
 *   s0, f0              in      step length of the latest trial below s1, and (m) the values there
 *   s1                  in/out  length of the trial step, then of the step taken
 *   xBase, tBase        in      (n) point at which the direction starts, and its step length
 *   xPrev, tPrev        in      (n) point of the step s0; tPrev = s0. A shortened step is predicted
 *                               from it.
 *   dir                 in      (n) direction; tangent in the dependent variables
 *   nKeep, keepList     in      (nKeep) inequalities that are not to be violated
 *   LTRAK               in/out  (m) 1 for each constraint that is held, else 0
 *   nTrak, MTRAK        in/out  (nTrak + 4) inequalities that are held; room for one a pass
 *   nEqSat, eqSatList   in      (nEqSat) satisfied equalities
 *   blockIndex          in/out  variable that blocks the trial, 0 for none, and
 *   blockStep           in/out  its step: of GRGDDV, for the last prediction made
 *   nIndep, MIDV        in/out  (n) independent variables
 *   nDep, MDDV          in/out  (n) dependent variables in row order, then all the others
 *   nRows, rowList      in/out  (ld) rows that are held, nRows = nDep
 *   ld                  in      leading dimension of XJAC and XJINV: the rows that can be held.
 *                               nDep + 4 never rejects one.
 *   XJAC, XJINV         in/out  (ld, ld) Jacobian and inverse of the basis
 *   G, colMap           in      (n, .) gradients, (m) column of each function: of all that is kept,
 *                               satisfied or minimized
 *   terminate           out     logical: end the search, the trial does not count
 *   second              out     logical: end the search after this trial; a constraint was taken
 *                               up, or a variable put on its bound
 *   dx, r               work    (n) each
 * GRSSAT takes dx and r from the work storage: 2n + 1 doubles. A failed request sets terminate. */
VRK_API void GRGSAT(const int32_t* feasMode, const int32_t* k, const int32_t* n, const int32_t* m,
                    double* x, double* f, const double* xLower, const double* xUpper,
                    const double* s0, double* s1, const double* f0, const double* xBase,
                    const double* tBase, const double* xPrev, const double* tPrev,
                    const double* dir, const int32_t* nKeep, const int32_t* keepList,
                    int32_t* LTRAK, int32_t* nTrak, int32_t* MTRAK, const int32_t* nEqSat,
                    const int32_t* eqSatList, int32_t* blockIndex, double* blockStep,
                    int32_t* nIndep, int32_t* MIDV, int32_t* nDep, int32_t* MDDV, int32_t* nRows,
                    int32_t* rowList, const int32_t* ld, double* XJAC, double* XJINV,
                    const double* G, const int32_t* colMap, int32_t* terminate, int32_t* second,
                    double* dx, double* r);
VRK_API void GRSSAT(const int32_t* feasMode, const int32_t* k, const int32_t* n, const int32_t* m,
                    double* x, double* f, const double* xLower, const double* xUpper,
                    const double* s0, double* s1, const double* f0, const double* xBase,
                    const double* tBase, const double* xPrev, const double* tPrev,
                    const double* dir, const int32_t* nKeep, const int32_t* keepList,
                    int32_t* LTRAK, int32_t* nTrak, int32_t* MTRAK, const int32_t* nEqSat,
                    const int32_t* eqSatList, int32_t* blockIndex, double* blockStep,
                    int32_t* nIndep, int32_t* MIDV, int32_t* nDep, int32_t* MDDV, int32_t* nRows,
                    int32_t* rowList, const int32_t* ld, double* XJAC, double* XJINV,
                    const double* G, const int32_t* colMap, int32_t* terminate, int32_t* second);

/* ------------------------------------------------------------------------------------------------
 * Reduced gradients: the line search
 * --------------------------------------------------------------------------------------------- */

/* Searches along d and leaves the best point found. In order:
 *     GRGTRK    active inequalities that d does not leave are held
 *     GRGINJ    basis for the satisfied equalities, then these; a row that is dropped is not held.
 *               Refined (tarnix_session_refine): dependent variables are then exchanged, without
 *               evaluations, for others with much larger pivots.
 *     entry     first step min(grgSearchParam1, carried); refined, see below
 *     trials    at most 51, each by GRGIDV, GRGDDV, one evaluation and GRGSAT. While the objective
 *               falls, the step s grows to min(3s, s + 0.4), or min(2s, s + 0.25) when anything is
 *               held, or min(2s, s + 0.15) when the last restoration, be it of an earlier
 *               call, took more than 2 iterations; at most
 *               to 10 % (0.05) past the next crossing, 2 % (0.01) past the next bound of a
 *               dependent variable. After a rise: parabolas, at most 3 (GRGPR3, GRGS34), and
 *               GRGPR2's, held within 0.1 s .. 0.5 s, when the first trial is worse already.
 * It ends where a step is below grgSearchParam2 or not longer than the one before, where the
 * saturation says so, at a fitted step of 0.5 or more, when a temporary objective is reached (at
 * most convTol; absolutely, in mode 2 and 3), or when, without a parabola, the objective has
 * changed by at most convTolGrg/5 at a step above 2 or after 5 trials.
 *
 * Refined entry. Two corrections are tried where the point lives on the tolerance of its
 * constraints. Each costs one evaluation, and x and f are put back, bit for bit, when it does not
 * help:
 *     - where the objective rises along d, the whole step x + carried d, within the bounds. If it
 *       more than halves the largest violation, to convTol at most, the search ends there: x and f
 *       are then those of that point, although its objective is the larger one;
 *     - where a held row has |f| > convTol/10, one Newton correction of the dependent variables. If
 *       it lowers the largest |f| of these rows and keeps all within convTol, the search starts
 *       there: entry values and best point are those of the corrected point.
 * So the objective on return is at most that of the point at which the search started, which need
 * not be x at entry. A search that ends before its first trial leaves x and f as they are.
 *
 * At most 7601 evaluations: 2 at entry and 149 a trial.
 *
 * Storage 3n + 1 doubles, and GRGINJ's or GRGSAT's above them. A failed request leaves the
 * best point so far.
 *   feasMode             in      mode
 *   hessReset            in/out  -1 when d lies outside a tangent plane (GRGTRK), else left
 *   carried              in      length of the direction before it was divided by it
 *   nIneq, ineqList      in      not read; they keep the argument positions
 *   nKeep, keepList      in      (nKeep) inequalities that are not violated
 *   nEqSat, eqSatList    in      (nEqSat) satisfied equalities
 *   nActive, activeList  in      (nActive) inequalities that the binding test looks at
 *   objIndex             in      position in f of the function that is minimized
 *   n                    in      number of variables
 *   x                    in/out  (n) scaled point, then the best one
 *   xUpper, xLower       in      (n) scaled bounds, the upper ones first
 *   m                    in      number of functions
 *   f                    in/out  (m) values at x, f(objIndex) negated in mode 3; also on return
 *   LISDF, G             in      (m) column of each function, (n, .) gradients, of all that is
 *                                kept, satisfied or minimized
 *   GRADOB               in      (n) gradient of f(objIndex)
 *   d                    in      (n) direction of unit length
 *   status               in/out  at the smallest step 2 (mode 0) or 4; 7 when a parabola has no
 *                                vertex; otherwise left as it is
 *   LTRAK                work    (m) flags of GRGTRK; set to 0 first
 *   MTRAK                work    (nActive + 4) inequalities that are held
 *   MIDV, MDDV           work    (n) independent and dependent variables
 *   rowList              work    (max(ld, nEqSat + nActive)) rows of the basis
 *   ld                   in      leading dimension of XJAC and XJINV: the rows that can be held.
 *                                nEqSat + nActive + 4 never rejects one.
 *   XJAC, XJINV          work    (ld, ld) Jacobian and inverse of the basis
 *   BSTDV, BSTDF         work    (n), (m) best point and its values
 *   xPrev, fPrev         work    (n), (m) latest accepted trial and its values
 * GRSSTE takes the work arrays from the work storage, 2n + 2m + 2k^2 + 1 doubles with
 * k = nEqSat + nActive + 1 and 3n + m + nActive + 6 integers; both matrices and rowList, with
 * ld = nEqSat + nActive + 4, have memory of their own. A failed request does nothing. */
VRK_API void GRGSTE(const int32_t* feasMode, int32_t* hessReset, const double* carried,
                    const int32_t* nIneq, const int32_t* ineqList, const int32_t* nKeep,
                    const int32_t* keepList, const int32_t* nEqSat, const int32_t* eqSatList,
                    const int32_t* nActive, const int32_t* activeList, const int32_t* objIndex,
                    const int32_t* n, double* x, const double* xUpper, const double* xLower,
                    const int32_t* m, double* f, const int32_t* LISDF, const double* G,
                    const double* GRADOB, const double* d, int32_t* status, int32_t* LTRAK,
                    int32_t* MTRAK, int32_t* MIDV, int32_t* MDDV, int32_t* rowList,
                    const int32_t* ld, double* XJAC, double* XJINV, double* BSTDV, double* BSTDF,
                    double* xPrev, double* fPrev);
VRK_API void GRSSTE(const int32_t* feasMode, int32_t* hessReset, const double* carried,
                    const int32_t* nIneq, const int32_t* ineqList, const int32_t* nKeep,
                    const int32_t* keepList, const int32_t* nEqSat, const int32_t* eqSatList,
                    const int32_t* nActive, const int32_t* activeList, const int32_t* objIndex,
                    const int32_t* n, double* x, const double* xUpper, const double* xLower,
                    const int32_t* m, double* f, const int32_t* LISDF, const double* G,
                    const double* GRADOB, const double* d, int32_t* status);

/* Lowest point of the parabola through two values and a slope: the same as SQPPR2. */
VRK_API void GRGPR2(const double* a1, const double* a2, const double* f1, const double* f2,
                    const double* g1, double* astar);

/* Vertex of the parabola through three points:
 *     (f1 (s2^2 - s3^2) + f2 (s3^2 - s1^2) + f3 (s1^2 - s2^2)) / (2D),
 *     D = (s2 - s3) f1 + (s3 - s1) f2 + (s1 - s2) f3.
 * It is a maximum when the points bend that way.
 *   s1, s2, s3, f1, f2, f3  in  step lengths and values
 *   vertex  out  step length of the vertex; left as it is when fail
 *   fail    out  logical: |D| is below zeroTol; printLevel > 0 prints a message */
VRK_API void GRGPR3(const double* s1, const double* f1, const double* s2, const double* f2,
                    const double* s3, const double* f3, double* vertex, int32_t* fail);

/* The three of four points to continue with: those around the smallest value (the first of equals)
 * when parab, otherwise all but the first. A smallest value at an end prints "ERROR IN BRACKET,
 * GRGS34" when printLevel > 0, and the three points at that end are kept.
 *   parab  in      logical: for a parabola
 *   s      in/out  (4) step lengths in increasing order; the three are left in front
 *   f      in/out  (4) their values, likewise */
VRK_API void GRGS34(const int32_t* parab, double* s, double* f);

/* Step at which a constraint reaches convTol, linearly between two points:
 *     cross = s0 + t (s1 - s0),   t = (convTol - g0)/(g1 - g0).
 * The errors print "ERROR1 IN GRGINT" or "ERROR2 IN GRGINT" when printLevel > 0.
 *   s0, g0  in   step length and value
 *   s1, g1  in   step length and value
 *   cross   out  step of the crossing; left as it is when ierr is not 0
 *   ierr    out  0; 2 when |g1 - g0| is below zeroTol; 1 when t lies outside 0..1 */
VRK_API void GRGINT(const double* s0, const double* g0, const double* s1, const double* g1,
                    double* cross, int32_t* ierr);

/* Binding test. With a the gradient of an active inequality and
 *     c = a'd / |a|   (a'd alone when |a| < zeroTol),
 * the constraint is held when c >= -0.017452406, minus the sine of one degree: d does not leave it
 * by more than that. When c >= 0.01 the curvature is to be reset; at printLevel > 1 two lines say
 * so. Functions without a column are skipped.
 *   nActive, activeList  in      (nActive) positions of the inequalities in f
 *   n                    in      number of variables
 *   G, colMap            in      (n, .) gradients, (m) column of each function, 0 none
 *   d                    in      (n) direction of unit length
 *   nTrak, MTRAK         out     (nActive) constraints that are held
 *   LTRAK                in/out  (m) 1 is set for each of them, the rest left as it is
 *   hessReset            in/out  -1 is set, or left as it is */
VRK_API void GRGTRK(const int32_t* nActive, const int32_t* activeList, const int32_t* n,
                    const double* G, const int32_t* colMap, const double* d, int32_t* nTrak,
                    int32_t* MTRAK, int32_t* LTRAK, int32_t* hessReset);

/* Ratio test: the first variable that meets its bound along d, among those with |d(i)| > zeroTol,
 *     step = (upper - x)/d  for d(i) > 0,   (lower - x)/d  for d(i) < 0;
 * negative where x has passed that bound already.
 *   n               in   number of variables
 *   x               in   (n) scaled point
 *   xUpper, xLower  in   (n) scaled bounds, the upper ones first
 *   d               in   (n) direction
 *   index           out  variable, the first of equals; 0 when none moves
 *   step            out  its step; bigValue when none moves */
VRK_API void GRGSTP(const int32_t* n, const double* x, const double* xUpper, const double* xLower,
                    const double* d, int32_t* index, double* step);

#ifdef __cplusplus
}
#endif

#endif
