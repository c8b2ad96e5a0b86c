! What tarnix_solve adds to the plain calls of the C library: per evaluation and per solve. The same
! solve by both, in turns; medians over the rounds, so that other load falls on both.
module bench_problem
  use tarnix
  use, intrinsic :: iso_c_binding
  implicit none
  real(c_double), parameter :: share(5) = [61d0, 37d0, 19d0, 7d0, 1d0]
contains
  subroutine cantilever(x, objective, equalities, inequalities, user)
    real(c_double), intent(in) :: x(:)
    real(c_double), intent(inout) :: objective, equalities(:), inequalities(:)
    class(*), intent(inout), optional :: user

    objective = 0.0624d0 * sum(x)
    inequalities(1) = sum(share / x**3) - 1
  end subroutine cantilever

  subroutine plain_cantilever(user, x, objective, equalities, inequalities) bind(C)
    type(c_ptr), value :: user
    real(c_double) :: x(*), objective, equalities(*), inequalities(*)

    objective = 0.0624d0 * sum(x(1:5))
    inequalities(1) = sum(share / x(1:5)**3) - 1
  end subroutine plain_cantilever
end module bench_problem

program fortran_bench
  use bench_problem
  implicit none
  integer, parameter :: rounds = 201, solves = 100
  real(c_double), parameter :: low(5) = 1, high(5) = 10
  real(c_double) :: plain, setup, added
  integer :: evaluations

  call measure(0, plain, setup, evaluations) ! a single evaluation: what a solve costs by itself
  call measure(40, plain, added, evaluations)
  print '(i0, a, f0.1, a)', evaluations, ' evaluations, by the plain call ', &
    plain / evaluations, ' ns each, method included'
  print '(a, f0.1, a, f0.1, a)', 'tarnix_solve adds ', setup / 1000, ' us per solve, and ', &
    (added - setup) / (evaluations - 1), ' ns per evaluation'
contains
  ! Nanoseconds of a solve by the plain call, and what tarnix_solve adds.
  subroutine measure(limit, plain, added, evaluations)
    integer, intent(in) :: limit
    real(c_double), intent(out) :: plain, added
    integer, intent(out) :: evaluations
    real(c_double) :: bare(rounds), friendly(rounds), f(2), x(5)
    type(tarnix_result) :: found
    integer(c_int64_t) :: before, between, after, rate
    integer :: k, r, status

    do r = 1, rounds
      call system_clock(before, rate)
      do k = 1, solves
        status = VRK_setDefaults()
        x = 5
        status = VRK_sqp(limit, 5, x, low, high, 0, 1, c_funloc(plain_cantilever), c_null_ptr, f)
      end do
      evaluations = VRK_get_nFunEval()
      call system_clock(between)
      do k = 1, solves
        x = 5
        call tarnix_solve(cantilever, x, low, high, found, inequalities=1, max_iterations=limit)
      end do
      call system_clock(after)
      if (found%evaluations /= evaluations) error stop 'the solves differ'
      bare(r) = 1d9 * (between - before) / (1d0 * rate * solves)
      friendly(r) = 1d9 * (after - between) / (1d0 * rate * solves)
    end do
    plain = median(bare)
    added = median(friendly - bare)
  end subroutine measure

  function median(v)
    real(c_double), intent(in) :: v(:)
    real(c_double) :: median
    integer :: k

    median = v(1)
    do k = 1, size(v)
      median = v(k)
      if (count(v < median) <= size(v) / 2 .and. count(v > median) <= size(v) / 2) return
    end do
  end function median
end program fortran_bench
