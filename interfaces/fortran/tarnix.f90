!> tarnix for Fortran 2008 hosts (with the C bindings of 2018): constrained optimization of small
!! design problems.
!!
!! Two levels:
!!   tarnix_solve                  assumed-shape arrays, optional arguments, data of the host's own
!!                                 type, errors by stat and errmsg; every call has a session of its
!!                                 own, so that an analysis may solve another problem
!!   VRK_..., tarnix_session_...   the C library as it is; tarnix/tarnix.h and tarnix/session.h
!!                                 describe each entry point
!!
!! Any compiler makes its own module file from this source.
module tarnix
  use, intrinsic :: iso_c_binding
  use, intrinsic :: iso_fortran_env, only: output_unit
  implicit none
  private

  !> Kind of every real number here: double precision.
  integer, parameter, public :: tarnix_real = c_double

  integer, parameter, public :: VRK_VERSION_MAJOR = 0
  integer, parameter, public :: VRK_VERSION_MINOR = 1
  integer, parameter, public :: VRK_VERSION_PATCH = 0

  !> Largest number of variables of a solve, and largest work storage.
  integer(c_int32_t), parameter, public :: VRK_MAX_VARIABLES = 100
  integer(c_int32_t), parameter, public :: VRK_DBL_STORAGE_LIMIT = 2000000
  integer(c_int32_t), parameter, public :: VRK_INT_STORAGE_LIMIT = 100000

  !> What either method returns for too many variables.
  integer(c_int32_t), parameter, public :: VRK_TOO_MANY_VARIABLES = 99

  !> What VRK_sqp returns.
  integer(c_int32_t), parameter, public :: VRK_SQP_CONVERGED = 1
  integer(c_int32_t), parameter, public :: VRK_SQP_ITERATION_LIMIT = 2
  integer(c_int32_t), parameter, public :: VRK_SQP_NO_QP_SOLUTION = 4
  integer(c_int32_t), parameter, public :: VRK_SQP_HESSIAN_NOT_POSITIVE_DEFINITE = 5
  integer(c_int32_t), parameter, public :: VRK_SQP_QP_FAILURE = 6
  integer(c_int32_t), parameter, public :: VRK_SQP_STORAGE = 7
  integer(c_int32_t), parameter, public :: VRK_SQP_STOPPED = 8
  integer(c_int32_t), parameter, public :: VRK_SQP_MERIT_NOT_CHANGING = 9

  !> What VRK_grg returns.
  integer(c_int32_t), parameter, public :: VRK_GRG_CONVERGED = 1
  integer(c_int32_t), parameter, public :: VRK_GRG_MINIMUM_STEP = 2
  integer(c_int32_t), parameter, public :: VRK_GRG_OBJECTIVE_NOT_CHANGING = 3
  integer(c_int32_t), parameter, public :: VRK_GRG_NO_FEASIBLE_POINT = 4
  integer(c_int32_t), parameter, public :: VRK_GRG_INFEASIBILITY_NOT_CHANGING = 5
  integer(c_int32_t), parameter, public :: VRK_GRG_ITERATION_LIMIT = 6
  integer(c_int32_t), parameter, public :: VRK_GRG_NO_QP_SOLUTION = 8
  integer(c_int32_t), parameter, public :: VRK_GRG_QP_FAILURE = 10
  integer(c_int32_t), parameter, public :: VRK_GRG_STORAGE = 11
  integer(c_int32_t), parameter, public :: VRK_GRG_STOPPED = 12

  !> Methods of tarnix_solve.
  integer, parameter, public :: tarnix_method_sqp = 1
  integer, parameter, public :: tarnix_method_grg = 2

  !> What stat holds when tarnix_solve was given invalid arguments, or found no memory.
  integer, parameter, public :: tarnix_bad_argument = 1
  integer, parameter, public :: tarnix_no_memory = 2

  !> Settings and counters of a session, VRK_Settings of tarnix/routines.h.
  type, bind(C), public :: tarnix_settings
    integer(c_int32_t) :: intStorageCapacity, dblStorageCapacity, intStorageUsed, dblStorageUsed
    integer(c_int32_t) :: diffMethod, nGradEval, stopRequest, nNewton1, nNewton2
    real(c_double) :: grgParam1, grgSearchParam1, grgSearchParam2
    integer(c_int32_t) :: printLevel
    real(c_double) :: maxStepNorm
    integer(c_int32_t) :: errorFlag, nFunEval, nIter
    real(c_double) :: zeroTol, bigValue, convTolGrg, convTol, diffPert
  end type tarnix_settings

  !> How a solve ended. objective, equalities and inequalities are the values at the final point.
  type, public :: tarnix_result
    integer :: status = 0      !< one of VRK_SQP_... or VRK_GRG_...
    integer :: iterations = 0
    integer :: evaluations = 0
    real(c_double) :: objective = 0
    real(c_double), allocatable :: equalities(:), inequalities(:)
  end type tarnix_result

  ! --- What a host hands to tarnix_solve ----------------------------------------------------------
  abstract interface
    !> Evaluates one design: fills every value. equalities hold at 0, inequalities at most 0. x may
    !! lie outside its bounds by the difference step. user is what tarnix_solve was given.
    !! VRK_set_stop(1) ends the solve at its next iteration.
    subroutine tarnix_analysis(x, objective, equalities, inequalities, user)
      import :: c_double
      real(c_double), intent(in) :: x(:)
      real(c_double), intent(inout) :: objective, equalities(:), inequalities(:)
      class(*), intent(inout), optional :: user
    end subroutine tarnix_analysis

    !> Fills the derivatives that it knows, G(i, k) of function k by x(i); functions are objective,
    !! equalities, inequalities. What is left NaN, as it arrives, is found by differences.
    subroutine tarnix_derivatives(x, G, user)
      import :: c_double
      real(c_double), intent(in) :: x(:)
      real(c_double), intent(inout) :: G(:, :)
      class(*), intent(inout), optional :: user
    end subroutine tarnix_derivatives

    !> Evaluates all designs of a gradient pass: column k of F takes objective, equalities and
    !! inequalities of the design in column k of X.
    subroutine tarnix_designs(X, F, user)
      import :: c_double
      real(c_double), intent(in) :: X(:, :)
      real(c_double), intent(inout) :: F(:, :)
      class(*), intent(inout), optional :: user
    end subroutine tarnix_designs
  end interface
  public :: tarnix_analysis, tarnix_derivatives, tarnix_designs, tarnix_solve

  ! --- The C library ------------------------------------------------------------------------------
  abstract interface
    subroutine VRK_analysis(user, x, objective, equalities, inequalities) bind(C)
      import :: c_ptr, c_double
      type(c_ptr), value :: user
      real(c_double) :: x(*), objective, equalities(*), inequalities(*)
    end subroutine VRK_analysis

    subroutine tarnix_batch(user, count, X, F) bind(C)
      import :: c_ptr, c_double, c_int32_t
      type(c_ptr), value :: user
      integer(c_int32_t), value :: count
      real(c_double) :: X(*), F(*)
    end subroutine tarnix_batch

    function tarnix_gradient(user, x, n, nfun, G) bind(C) result(known)
      import :: c_ptr, c_double, c_int32_t
      type(c_ptr), value :: user
      integer(c_int32_t), value :: n, nfun
      real(c_double) :: x(n), G(n, nfun)
      integer(c_int32_t) :: known
    end function tarnix_gradient

    subroutine tarnix_trace(user, text, length) bind(C)
      import :: c_ptr, c_char, c_size_t
      type(c_ptr), value :: user
      integer(c_size_t), value :: length
      character(kind=c_char) :: text(length)
    end subroutine tarnix_trace
  end interface
  public :: VRK_analysis, tarnix_batch, tarnix_gradient, tarnix_trace

  interface
    function VRK_setDefaults() bind(C, name='VRK_setDefaults') result(zero)
      import :: c_int32_t
      integer(c_int32_t) :: zero
    end function VRK_setDefaults

    subroutine VRK_set_stop(value) bind(C, name='VRK_set_stop')
      import :: c_int32_t
      integer(c_int32_t), value :: value
    end subroutine VRK_set_stop

    subroutine VRK_set_print(level) bind(C, name='VRK_set_print')
      import :: c_int32_t
      integer(c_int32_t), value :: level
    end subroutine VRK_set_print

    subroutine VRK_set_diffMeth(method) bind(C, name='VRK_set_diffMeth')
      import :: c_int32_t
      integer(c_int32_t), value :: method
    end subroutine VRK_set_diffMeth

    subroutine VRK_set_diffPert(pert) bind(C, name='VRK_set_diffPert')
      import :: c_double
      real(c_double), value :: pert
    end subroutine VRK_set_diffPert

    subroutine VRK_set_convTol(tol) bind(C, name='VRK_set_convTol')
      import :: c_double
      real(c_double), value :: tol
    end subroutine VRK_set_convTol

    function VRK_get_nIter() bind(C, name='VRK_get_nIter') result(n)
      import :: c_int32_t
      integer(c_int32_t) :: n
    end function VRK_get_nIter

    function VRK_get_nFunEval() bind(C, name='VRK_get_nFunEval') result(n)
      import :: c_int32_t
      integer(c_int32_t) :: n
    end function VRK_get_nFunEval

    !> cb is c_funloc of a VRK_analysis; f has 1 + m1 + m2 elements.
    function VRK_sqp(maxIter, n, x, lower, upper, m1, m2, cb, user, f) bind(C, name='VRK_sqp') &
      result(status)
      import :: c_int32_t, c_double, c_funptr, c_ptr
      integer(c_int32_t), value :: maxIter, n, m1, m2
      real(c_double), intent(inout) :: x(*), f(*)
      real(c_double), intent(in) :: lower(*), upper(*)
      type(c_funptr), value :: cb
      type(c_ptr), value :: user
      integer(c_int32_t) :: status
    end function VRK_sqp

    function VRK_grg(maxIter, n, x, lower, upper, m1, m2, cb, user, f) bind(C, name='VRK_grg') &
      result(status)
      import :: c_int32_t, c_double, c_funptr, c_ptr
      integer(c_int32_t), value :: maxIter, n, m1, m2
      real(c_double), intent(inout) :: x(*), f(*)
      real(c_double), intent(in) :: lower(*), upper(*)
      type(c_funptr), value :: cb
      type(c_ptr), value :: user
      integer(c_int32_t) :: status
    end function VRK_grg

    function tarnix_session_create() bind(C, name='tarnix_session_create') result(session)
      import :: c_ptr
      type(c_ptr) :: session
    end function tarnix_session_create

    subroutine tarnix_session_destroy(session) bind(C, name='tarnix_session_destroy')
      import :: c_ptr
      type(c_ptr), value :: session
    end subroutine tarnix_session_destroy

    function tarnix_session_use(session) bind(C, name='tarnix_session_use') result(before)
      import :: c_ptr
      type(c_ptr), value :: session
      type(c_ptr) :: before
    end function tarnix_session_use

    !> c_f_pointer makes a pointer to tarnix_settings of it; c_null_ptr for the process-wide one.
    function tarnix_session_settings(session) bind(C, name='tarnix_session_settings') &
      result(settings)
      import :: c_ptr
      type(c_ptr), value :: session
      type(c_ptr) :: settings
    end function tarnix_session_settings

    subroutine tarnix_session_stop(session, value) bind(C, name='tarnix_session_stop')
      import :: c_ptr, c_int32_t
      type(c_ptr), value :: session
      integer(c_int32_t), value :: value
    end subroutine tarnix_session_stop

    subroutine tarnix_session_refine(session, on) bind(C, name='tarnix_session_refine')
      import :: c_ptr, c_int32_t
      type(c_ptr), value :: session
      integer(c_int32_t), value :: on
    end subroutine tarnix_session_refine

    subroutine tarnix_session_batch(session, function, user) bind(C, name='tarnix_session_batch')
      import :: c_ptr, c_funptr
      type(c_ptr), value :: session, user
      type(c_funptr), value :: function
    end subroutine tarnix_session_batch

    subroutine tarnix_session_gradient(session, function, user) &
      bind(C, name='tarnix_session_gradient')
      import :: c_ptr, c_funptr
      type(c_ptr), value :: session, user
      type(c_funptr), value :: function
    end subroutine tarnix_session_gradient

    subroutine tarnix_session_trace(session, function, user) bind(C, name='tarnix_session_trace')
      import :: c_ptr, c_funptr
      type(c_ptr), value :: session, user
      type(c_funptr), value :: function
    end subroutine tarnix_session_trace
  end interface
  public :: VRK_setDefaults, VRK_set_stop, VRK_set_print, VRK_set_diffMeth, VRK_set_diffPert
  public :: VRK_set_convTol, VRK_get_nIter, VRK_get_nFunEval, VRK_sqp, VRK_grg
  public :: tarnix_session_create, tarnix_session_destroy, tarnix_session_use
  public :: tarnix_session_settings, tarnix_session_stop, tarnix_session_refine
  public :: tarnix_session_batch, tarnix_session_gradient, tarnix_session_trace

  !> What the callbacks of one tarnix_solve refer to.
  type :: solve_data
    integer :: n, m1, m2
    integer :: unit
    procedure(tarnix_analysis), pointer, nopass :: analysis => null()
    procedure(tarnix_derivatives), pointer, nopass :: gradient => null()
    procedure(tarnix_designs), pointer, nopass :: batch => null()
    class(*), pointer :: user => null()
  end type solve_data

contains

  !> Minimizes the objective of analysis from x, which is replaced by the point found.
  !!   lower, upper    finite bounds, lower < upper: they are the scale of the variables
  !!   equalities, inequalities   numbers of constraints, 0 when absent
  !!   user            handed to analysis, gradient and batch
  !!   method          tarnix_method_sqp (when absent) or tarnix_method_grg, with its refinements
  !!   tolerance       largest violation, and smallest gain, that counts; 1e-3 when absent
  !!   difference_step in units of half the distance of the bounds; 1e-4 when absent
  !!   central         .true. for central differences
  !!   print_level     0 to 3; the trace goes to trace_unit, standard output when absent
  !!   stat, errmsg    as of allocate: stat is 0, or says that nothing was evaluated, for the
  !!                   reason in errmsg; without stat an error stops the program with that text
  subroutine tarnix_solve(analysis, x, lower, upper, result, equalities, inequalities, user, &
                          method, gradient, batch, max_iterations, tolerance, difference_step, &
                          central, print_level, trace_unit, stat, errmsg)
    procedure(tarnix_analysis) :: analysis
    real(c_double), intent(inout) :: x(:)
    real(c_double), intent(in) :: lower(:), upper(:)
    type(tarnix_result), intent(out) :: result
    integer, intent(in), optional :: equalities, inequalities
    class(*), intent(inout), target, optional :: user
    integer, intent(in), optional :: method
    procedure(tarnix_derivatives), optional :: gradient
    procedure(tarnix_designs), optional :: batch
    integer, intent(in), optional :: max_iterations
    real(c_double), intent(in), optional :: tolerance, difference_step
    logical, intent(in), optional :: central
    integer, intent(in), optional :: print_level, trace_unit
    integer, intent(out), optional :: stat
    character(len=*), intent(inout), optional :: errmsg

    type(solve_data), target :: data
    type(c_ptr) :: session, before
    character(len=:), allocatable :: fault
    integer :: chosen, iterations

    if (present(stat)) stat = 0
    chosen = optional_integer(method, tarnix_method_sqp)
    iterations = optional_integer(max_iterations, 200)
    data%n = size(x)
    data%m1 = optional_integer(equalities, 0)
    data%m2 = optional_integer(inequalities, 0)
    data%unit = optional_integer(trace_unit, output_unit)
    fault = first_fault(x, lower, upper, data%m1, data%m2, chosen, tolerance, difference_step)
    if (len(fault) > 0) then
      call refuse(tarnix_bad_argument, fault, stat, errmsg)
      return
    end if
    session = tarnix_session_create()
    if (.not. c_associated(session)) then
      call refuse(tarnix_no_memory, 'there is no memory for a session', stat, errmsg)
      return
    end if

    data%analysis => analysis
    if (present(user)) data%user => user
    if (present(gradient)) data%gradient => gradient
    if (present(batch)) data%batch => batch
    before = tarnix_session_use(session)
    call configure(session, tolerance, difference_step, central, print_level)
    call run_in(session, data, chosen, iterations, x, lower, upper, result)
    session = tarnix_session_use(before)
    call tarnix_session_destroy(session)
  end subroutine tarnix_solve

  !> Of the session that is in use.
  subroutine configure(session, tolerance, difference_step, central, print_level)
    type(c_ptr), intent(in) :: session
    real(c_double), intent(in), optional :: tolerance, difference_step
    logical, intent(in), optional :: central
    integer, intent(in), optional :: print_level
    type(tarnix_settings), pointer :: settings

    call c_f_pointer(tarnix_session_settings(session), settings)
    settings%dblStorageCapacity = VRK_DBL_STORAGE_LIMIT
    settings%intStorageCapacity = VRK_INT_STORAGE_LIMIT
    call tarnix_session_refine(session, 1_c_int32_t)
    call VRK_set_print(optional_integer(print_level, 0))
    if (present(tolerance)) call VRK_set_convTol(tolerance)
    if (present(difference_step)) call VRK_set_diffPert(difference_step)
    if (present(central)) call VRK_set_diffMeth(merge(2, 1, central))
  end subroutine configure

  subroutine run_in(session, data, method, iterations, x, lower, upper, result)
    type(c_ptr), intent(in) :: session
    type(solve_data), intent(in), target :: data
    integer, intent(in) :: method, iterations
    real(c_double), intent(inout) :: x(:)
    real(c_double), intent(in) :: lower(:), upper(:)
    type(tarnix_result), intent(inout) :: result
    real(c_double) :: point(size(x)), f(1 + data%m1 + data%m2)

    point = x
    f = 0
    if (associated(data%gradient)) &
      call tarnix_session_gradient(session, c_funloc(call_gradient), c_loc(data))
    if (associated(data%batch)) &
      call tarnix_session_batch(session, c_funloc(call_batch), c_loc(data))
    call tarnix_session_trace(session, c_funloc(write_trace), c_loc(data))
    if (method == tarnix_method_grg) then
      result%status = VRK_grg(iterations, data%n, point, lower, upper, data%m1, data%m2, &
                              c_funloc(call_analysis), c_loc(data), f)
    else
      result%status = VRK_sqp(iterations, data%n, point, lower, upper, data%m1, data%m2, &
                              c_funloc(call_analysis), c_loc(data), f)
    end if
    result%iterations = VRK_get_nIter()
    result%evaluations = VRK_get_nFunEval()
    x = point
    result%objective = f(1)
    result%equalities = f(2:1 + data%m1)
    result%inequalities = f(2 + data%m1:)
  end subroutine run_in

  ! --- Arguments ----------------------------------------------------------------------------------
  pure function optional_integer(value, default) result(chosen)
    integer, intent(in), optional :: value
    integer, intent(in) :: default
    integer :: chosen

    chosen = default
    if (present(value)) chosen = value
  end function optional_integer

  pure logical function finite(value)
    real(c_double), intent(in) :: value

    finite = abs(value) <= huge(value)
  end function finite

  !> What is wrong with the arguments, empty when nothing is.
  function first_fault(x, lower, upper, m1, m2, method, tolerance, difference_step) result(fault)
    real(c_double), intent(in) :: x(:), lower(:), upper(:)
    integer, intent(in) :: m1, m2, method
    real(c_double), intent(in), optional :: tolerance, difference_step
    character(len=:), allocatable :: fault
    integer :: i

    fault = ''
    if (size(x) < 1 .or. size(x) > VRK_MAX_VARIABLES) then
      fault = 'x requires 1 to 100 variables and has '//text(size(x))
    else if (size(lower) /= size(x) .or. size(upper) /= size(x)) then
      fault = 'lower and upper require one element per variable: x has '//text(size(x))// &
        ', lower '//text(size(lower))//', upper '//text(size(upper))
    else if (m1 < 0 .or. m2 < 0) then
      fault = 'the numbers of equalities and inequalities must not be negative'
    else if (method /= tarnix_method_sqp .and. method /= tarnix_method_grg) then
      fault = 'method is neither tarnix_method_sqp nor tarnix_method_grg'
    end if
    if (len(fault) == 0) fault = positive_fault('tolerance', tolerance)
    if (len(fault) == 0) fault = positive_fault('difference_step', difference_step)
    if (len(fault) > 0) return
    do i = 1, size(x)
      if (.not. finite(x(i))) then
        fault = 'x('//text(i)//') is not finite'
      else if (.not. (finite(lower(i)) .and. finite(upper(i)))) then
        fault = 'the bounds of x('//text(i)//') must be finite: they are its scale'
      else if (.not. lower(i) < upper(i)) then
        fault = 'lower('//text(i)//') must be below upper('//text(i)//')'
      end if
      if (len(fault) > 0) return
    end do
  end function first_fault

  function positive_fault(name, value) result(fault)
    character(len=*), intent(in) :: name
    real(c_double), intent(in), optional :: value
    character(len=:), allocatable :: fault

    fault = ''
    if (.not. present(value)) return
    if (.not. (finite(value) .and. value > 0)) fault = name//' must be positive and finite'
  end function positive_fault

  pure function text(value)
    integer, intent(in) :: value
    character(len=:), allocatable :: text
    character(len=12) :: digits

    write (digits, '(i0)') value
    text = trim(digits)
  end function text

  subroutine refuse(code, fault, stat, errmsg)
    integer, intent(in) :: code
    character(len=*), intent(in) :: fault
    integer, intent(inout), optional :: stat
    character(len=*), intent(inout), optional :: errmsg

    if (.not. present(stat)) error stop 'tarnix_solve: '//fault
    stat = code
    if (present(errmsg)) errmsg = 'tarnix_solve: '//fault
  end subroutine refuse

  ! --- What the library calls: each hands on to the host's procedure ------------------------------
  subroutine call_analysis(user, x, objective, equalities, inequalities) bind(C, name='')
    type(c_ptr), value :: user
    real(c_double) :: x(*), objective, equalities(*), inequalities(*)
    type(solve_data), pointer :: data

    call c_f_pointer(user, data)
    call data%analysis(x(1:data%n), objective, equalities(1:data%m1), inequalities(1:data%m2), &
                       data%user)
  end subroutine call_analysis

  function call_gradient(user, x, n, nfun, G) bind(C, name='') result(known)
    type(c_ptr), value :: user
    integer(c_int32_t), value :: n, nfun
    real(c_double) :: x(n), G(n, nfun)
    integer(c_int32_t) :: known
    type(solve_data), pointer :: data

    call c_f_pointer(user, data)
    call data%gradient(x, G, data%user)
    known = 1
  end function call_gradient

  subroutine call_batch(user, count, X, F) bind(C, name='')
    type(c_ptr), value :: user
    integer(c_int32_t), value :: count
    real(c_double), target :: X(*), F(*)
    type(solve_data), pointer :: data
    real(c_double), pointer :: designs(:, :), values(:, :)

    call c_f_pointer(user, data)
    call c_f_pointer(c_loc(X), designs, [data%n, int(count)])
    call c_f_pointer(c_loc(F), values, [1 + data%m1 + data%m2, int(count)])
    call data%batch(designs, values, data%user)
  end subroutine call_batch

  !> Lines come in pieces: a newline character ends one.
  subroutine write_trace(user, text, length) bind(C, name='')
    type(c_ptr), value :: user
    integer(c_size_t), value :: length
    character(kind=c_char) :: text(length)
    type(solve_data), pointer :: data
    integer(c_size_t) :: i

    call c_f_pointer(user, data)
    do i = 1, length
      if (text(i) == c_new_line) then
        write (data%unit, '()')
      else
        write (data%unit, '(a)', advance='no') text(i)
      end if
    end do
  end subroutine write_trace
end module tarnix
