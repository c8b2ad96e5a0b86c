! Tests of the module: the same bits as from C, and what the friendly call adds.
module test_support
  use tarnix
  use, intrinsic :: iso_c_binding
  implicit none
  integer :: failures = 0

  interface
    function reference_solve(index, grg, x, f, counters) bind(C) result(status)
      import :: c_int32_t, c_double
      integer(c_int32_t), value :: index, grg
      real(c_double) :: x(*), f(*)
      integer(c_int32_t) :: counters(2), status
    end function reference_solve
    subroutine problem_parts(index, sizes, start, lower, upper, evaluate) bind(C)
      import :: c_int32_t, c_ptr, c_funptr
      integer(c_int32_t), value :: index
      integer(c_int32_t) :: sizes(3)
      type(c_ptr) :: start, lower, upper
      type(c_funptr) :: evaluate
    end subroutine problem_parts
    subroutine number_settings(settings) bind(C)
      import :: tarnix_settings
      type(tarnix_settings) :: settings
    end subroutine number_settings
    function wide_count() bind(C, name='wideProblemCount') result(count)
      import :: c_int
      integer(c_int) :: count
    end function wide_count
  end interface

  type :: collected ! a problem of the collection, called from Fortran
    integer(c_int32_t) :: sizes(3)
    real(c_double), pointer :: start(:), lower(:), upper(:)
    type(c_funptr) :: evaluate
  end type collected

  type :: calls ! what the host's procedures were called for
    integer :: analyses = 0, gradients = 0, batches = 0, stop_after = huge(0)
    real(c_double) :: inner = 0
  end type calls

contains
  subroutine expect(holds, what)
    logical, intent(in) :: holds
    character(len=*), intent(in) :: what

    if (holds) return
    failures = failures + 1
    print '(2a)', 'FAILED: ', what
  end subroutine expect

  elemental logical function same_bits(a, b)
    real(c_double), intent(in) :: a, b

    same_bits = transfer(a, 0_c_int64_t) == transfer(b, 0_c_int64_t)
  end function same_bits

  function problem_of(index) result(p)
    integer, intent(in) :: index
    type(collected) :: p
    type(c_ptr) :: start, lower, upper

    call problem_parts(index, p%sizes, start, lower, upper, p%evaluate)
    call c_f_pointer(start, p%start, p%sizes(1:1))
    call c_f_pointer(lower, p%lower, p%sizes(1:1))
    call c_f_pointer(upper, p%upper, p%sizes(1:1))
  end function problem_of

  subroutine evaluate_collected(x, objective, equalities, inequalities, user)
    real(c_double), intent(in) :: x(:)
    real(c_double), intent(inout) :: objective, equalities(:), inequalities(:)
    class(*), intent(inout), optional :: user
    procedure(VRK_analysis), pointer :: evaluate
    real(c_double) :: point(size(x))

    point = x
    select type (user)
    type is (collected)
      call c_f_procpointer(user%evaluate, evaluate)
      call evaluate(c_null_ptr, point, objective, equalities, inequalities)
    end select
  end subroutine evaluate_collected

  ! x1 + x2 is least on the unit disk at -1 / sqrt(2) each.
  subroutine disk(x, objective, equalities, inequalities, user)
    real(c_double), intent(in) :: x(:)
    real(c_double), intent(inout) :: objective, equalities(:), inequalities(:)
    class(*), intent(inout), optional :: user

    objective = x(1) + x(2)
    inequalities(1) = x(1)**2 + x(2)**2 - 1
    if (.not. present(user)) return
    select type (user)
    type is (calls)
      user%analyses = user%analyses + 1
      if (user%analyses >= user%stop_after) call VRK_set_stop(1)
    end select
  end subroutine disk

  subroutine disk_slopes(x, G, user)
    real(c_double), intent(in) :: x(:)
    real(c_double), intent(inout) :: G(:, :)
    class(*), intent(inout), optional :: user

    G(:, 1) = 1
    G(:, 2) = 2 * x
    select type (user)
    type is (calls)
      user%gradients = user%gradients + 1
    end select
  end subroutine disk_slopes

  subroutine disk_batch(X, F, user)
    real(c_double), intent(in) :: X(:, :)
    real(c_double), intent(inout) :: F(:, :)
    class(*), intent(inout), optional :: user

    F(1, :) = X(1, :) + X(2, :)
    F(2, :) = X(1, :)**2 + X(2, :)**2 - 1
    select type (user)
    type is (calls)
      user%batches = user%batches + 1
    end select
  end subroutine disk_batch

  ! Every evaluation solves the disk problem first.
  subroutine outer(x, objective, equalities, inequalities, user)
    real(c_double), intent(in) :: x(:)
    real(c_double), intent(inout) :: objective, equalities(:), inequalities(:)
    class(*), intent(inout), optional :: user
    real(c_double) :: inner(2)
    type(tarnix_result) :: best

    inner = [0.5d0, 0d0]
    call tarnix_solve(disk, inner, [-2d0, -2d0], [2d0, 2d0], best, inequalities=1)
    call disk(x, objective, equalities, inequalities)
    select type (user)
    type is (calls)
      user%inner = best%objective
    end select
  end subroutine outer

  subroutine raw_disk(user, x, objective, equalities, inequalities) bind(C)
    type(c_ptr), value :: user
    real(c_double) :: x(*), objective, equalities(*), inequalities(*)

    call disk(x(1:2), objective, equalities(1:0), inequalities(1:1))
  end subroutine raw_disk
end module test_support

program fortran_test
  use test_support
  implicit none
  real(c_double), parameter :: lower(2) = [-2d0, -2d0], upper(2) = [2d0, 2d0]
  integer :: i

  call constants_and_settings()
  do i = 0, wide_count() - 1
    call collection_solve(i, 0)
    call collection_solve(i, 1)
  end do
  call host_procedures()
  call strided_arrays()
  call stops_and_nests()
  call trace_to_unit()
  call process_wide_session()
  call refusals()
  if (failures > 0) error stop 1
  print '(a)', 'passed'

contains
  subroutine constants_and_settings()
    type(tarnix_settings) :: s
    type(tarnix_settings), pointer :: defaults
    integer :: k

    call number_settings(s)
    call expect(all([s%intStorageCapacity, s%dblStorageCapacity, s%intStorageUsed, &
      s%dblStorageUsed, s%diffMethod, s%nGradEval, s%stopRequest, s%nNewton1, s%nNewton2] == &
      [(k, k = 1, 9)]), 'first integers of the settings')
    call expect(all(same_bits([s%grgParam1, s%grgSearchParam1, s%grgSearchParam2, &
      s%maxStepNorm], [10d0, 11d0, 12d0, 14d0])) .and. s%printLevel == 13, 'middle of the settings')
    call expect(all([s%errorFlag, s%nFunEval, s%nIter] == [15, 16, 17]) .and. &
      all(same_bits([s%zeroTol, s%bigValue, s%convTolGrg, s%convTol, s%diffPert], &
      [18d0, 19d0, 20d0, 21d0, 22d0])), 'end of the settings')

    call expect(VRK_setDefaults() == 0, 'defaults')
    call c_f_pointer(tarnix_session_settings(c_null_ptr), defaults)
    call expect(all(same_bits([defaults%convTol, defaults%diffPert], [1d-3, 1d-4])), &
      'default settings')
    call VRK_set_convTol(1d-5)
    call VRK_set_diffPert(1d-6)
    call VRK_set_diffMeth(2)
    call VRK_set_print(3)
    call VRK_set_stop(1)
    call expect(all(same_bits([defaults%convTol, defaults%diffPert], [1d-5, 1d-6])) .and. &
      defaults%diffMethod == 2 .and. defaults%printLevel == 3 .and. defaults%stopRequest == 1, &
      'setters')
    call tarnix_session_stop(c_null_ptr, 0)
    call expect(defaults%stopRequest == 0, 'stop of a session')
    call expect(VRK_setDefaults() == 0, 'defaults')
  end subroutine constants_and_settings

  ! The friendly call gives the bits and counters of the same solve in C.
  subroutine collection_solve(index, grg)
    integer, intent(in) :: index, grg
    type(collected) :: p
    type(tarnix_result) :: found
    real(c_double), allocatable :: x(:), reference(:), f(:), values(:)
    integer(c_int32_t) :: counters(2), status
    character(len=40) :: what

    write (what, '(2(a, i0))') 'problem ', index, ', method ', grg
    p = problem_of(index)
    allocate (reference(p%sizes(1)), f(1 + p%sizes(2) + p%sizes(3)))
    f = 0
    status = reference_solve(index, grg, reference, f, counters)
    x = p%start
    call tarnix_solve(evaluate_collected, x, p%lower, p%upper, found, p%sizes(2), p%sizes(3), p, &
                      merge(tarnix_method_grg, tarnix_method_sqp, grg == 1))
    values = [found%objective, found%equalities, found%inequalities]
    call expect(status == found%status, trim(what)//': status')
    call expect(all(counters == [found%iterations, found%evaluations]), trim(what)//': counters')
    call expect(size(values) == size(f) .and. all(same_bits(x, reference)) .and. &
      all(same_bits(values, f)), trim(what)//': bits')
  end subroutine collection_solve

  subroutine host_procedures()
    type(calls) :: single, many, slopes
    type(tarnix_result) :: a, b, c
    real(c_double) :: xa(2), xb(2), xc(2)
    integer :: method

    do method = tarnix_method_sqp, tarnix_method_grg
      single = calls()
      many = calls()
      slopes = calls()
      xa = [0.5d0, 0d0]
      xb = xa
      xc = xa
      call tarnix_solve(disk, xa, lower, upper, a, inequalities=1, user=single, method=method)
      call tarnix_solve(disk, xb, lower, upper, b, inequalities=1, user=many, method=method, &
                        batch=disk_batch)
      call tarnix_solve(disk, xc, lower, upper, c, inequalities=1, user=slopes, method=method, &
                        gradient=disk_slopes, tolerance=1d-8)
      call expect(a%evaluations == single%analyses, 'evaluations counted')
      call expect(all(same_bits(xa, xb)) .and. a%evaluations == b%evaluations .and. &
        many%batches > 0 .and. b%evaluations == many%analyses + 2 * many%batches, &
        'a pass in one call')
      call expect(slopes%gradients > 0 .and. c%evaluations == slopes%analyses .and. &
        abs(c%objective + sqrt(2d0)) < 1d-7, 'derivatives of the host')
      xb = [0.5d0, 0d0]
      call tarnix_solve(disk, xb, lower, upper, b, inequalities=1, method=method, &
                        central=.true., difference_step=1d-3, tolerance=1d-8)
      call expect(abs(b%objective + sqrt(2d0)) < 1d-7, 'central differences')
    end do
  end subroutine host_procedures

  subroutine strided_arrays()
    real(c_double) :: plain(2) = [0.5d0, 0d0], wide(4) = [0.5d0, 7d0, 0d0, 8d0], bounds(2, 2)
    type(tarnix_result) :: found

    bounds(1, :) = lower
    bounds(2, :) = upper
    call tarnix_solve(disk, plain, lower, upper, found, inequalities=1)
    call tarnix_solve(disk, wide(1:3:2), bounds(1, :), bounds(2, :), found, inequalities=1)
    call expect(all(same_bits(wide, [plain(1), 7d0, plain(2), 8d0])), 'arrays with strides')
  end subroutine strided_arrays

  subroutine stops_and_nests()
    type(calls) :: seen
    type(tarnix_result) :: found, plain
    real(c_double) :: x(2), y(2)

    seen%stop_after = 4
    x = [0.5d0, 0d0]
    call tarnix_solve(disk, x, lower, upper, found, inequalities=1, user=seen)
    call expect(found%status == VRK_SQP_STOPPED, 'stop from the analysis')
    x = [0.5d0, 0d0]
    call tarnix_solve(disk, x, lower, upper, found, inequalities=1, max_iterations=1)
    call expect(found%status == VRK_SQP_ITERATION_LIMIT .and. found%iterations == 1, 'limit')

    x = [0.5d0, 0d0]
    y = x
    call tarnix_solve(disk, x, lower, upper, plain, inequalities=1)
    call tarnix_solve(outer, y, lower, upper, found, inequalities=1, user=seen)
    call expect(all(same_bits(x, y)) .and. same_bits(seen%inner, plain%objective), &
      'a solve in every evaluation of another')
  end subroutine stops_and_nests

  subroutine trace_to_unit()
    type(tarnix_result) :: found
    real(c_double) :: x(2) = [0.5d0, 0d0]
    character(len=120) :: line
    integer :: unit, lines, headers, status

    open (newunit=unit, status='scratch', action='readwrite')
    call tarnix_solve(disk, x, lower, upper, found, inequalities=1, print_level=2, trace_unit=unit)
    rewind (unit)
    lines = 0
    headers = 0
    do
      read (unit, '(a)', iostat=status) line
      if (status /= 0) exit
      lines = lines + 1
      if (index(line, 'Search Direction') > 0) headers = headers + 1
    end do
    close (unit)
    call expect(headers == found%iterations .and. lines > headers, 'trace in a unit')
  end subroutine trace_to_unit

  ! The C calls as they are, with a callback in Fortran.
  subroutine process_wide_session()
    real(c_double) :: x(2) = [0.5d0, 0d0], f(2), y(2) = [0.5d0, 0d0]
    type(tarnix_result) :: found

    call expect(VRK_sqp(200, 2, x, lower, upper, 0, 1, c_funloc(raw_disk), c_null_ptr, f) == &
      VRK_SQP_CONVERGED, 'status of the plain call')
    call tarnix_solve(disk, y, lower, upper, found, inequalities=1)
    call expect(all(same_bits(x, y)), 'plain call and friendly call')
    call expect(VRK_get_nFunEval() == found%evaluations, 'evaluations of the plain call')
    call expect(VRK_get_nIter() == found%iterations, 'iterations of the plain call')
    call expect(VRK_sqp(1, 101, x, lower, upper, 0, 1, c_null_funptr, c_null_ptr, f) == &
      VRK_TOO_MANY_VARIABLES, 'too many variables')
  end subroutine process_wide_session

  subroutine refuse(expected, x, low, high, equalities, method, tolerance)
    use, intrinsic :: ieee_arithmetic
    character(len=*), intent(in) :: expected
    real(c_double), intent(in) :: x(:), low(:), high(:)
    integer, intent(in), optional :: equalities, method
    real(c_double), intent(in), optional :: tolerance
    real(c_double) :: point(size(x))
    type(tarnix_result) :: found
    character(len=100) :: message
    integer :: stat

    point = x
    message = ''
    call tarnix_solve(disk, point, low, high, found, equalities, 1, method=method, &
                      tolerance=tolerance, stat=stat, errmsg=message)
    call expect(stat == tarnix_bad_argument .and. message == 'tarnix_solve: '//expected, &
      'expected "'//expected//'", got "'//trim(message)//'"')
    call expect(all(same_bits(point, x)), 'x of a refused solve stays')
  end subroutine refuse

  subroutine refusals()
    use, intrinsic :: ieee_arithmetic
    real(c_double) :: none(0), start(2) = [0.5d0, 0d0], many(101) = 0, nan, infinity
    type(tarnix_result) :: found
    integer :: stat

    nan = ieee_value(nan, ieee_quiet_nan)
    infinity = ieee_value(infinity, ieee_positive_inf)
    call refuse('x requires 1 to 100 variables and has 0', none, none, none)
    call refuse('x requires 1 to 100 variables and has 101', many, many, many)
    call refuse('lower and upper require one element per variable: x has 2, lower 2, upper 1', &
      start, lower, upper(1:1))
    call refuse('the numbers of equalities and inequalities must not be negative', start, lower, &
      upper, equalities=-1)
    call refuse('method is neither tarnix_method_sqp nor tarnix_method_grg', start, lower, upper, &
      method=3)
    call refuse('tolerance must be positive and finite', start, lower, upper, tolerance=0d0)
    call refuse('tolerance must be positive and finite', start, lower, upper, tolerance=nan)
    call refuse('x(2) is not finite', [0d0, nan], lower, upper)
    call refuse('the bounds of x(1) must be finite: they are its scale', start, &
      [-infinity, -2d0], upper)
    call refuse('lower(2) must be below upper(2)', start, lower, [2d0, -2d0])
    stat = 7
    call tarnix_solve(disk, start, lower, upper, found, inequalities=1, stat=stat)
    call expect(stat == 0, 'stat of a solve')
    ! Without stat the program ends: with the argument "stop" the test looks at that.
    if (command_argument_count() > 0) &
      call tarnix_solve(disk, start, upper, lower, found, inequalities=1)
  end subroutine refusals
end program fortran_test
