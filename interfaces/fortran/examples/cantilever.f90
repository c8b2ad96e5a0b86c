! A stepped cantilever of hollow square segments: the sides that make it lightest while its tip
! sinks by no more than a limit. The beam is data of the host's own type, which arrives in the
! analysis; derivatives come from the host, so that nothing is found by differences.
module cantilevers
  use tarnix
  implicit none

  type :: beam
    real(tarnix_real) :: density                 ! weight per unit of a side
    real(tarnix_real), allocatable :: share(:)   ! of each segment in the sag, times its side cubed
    integer :: analyses = 0
  end type beam

contains
  subroutine weigh(x, objective, equalities, inequalities, user)
    real(tarnix_real), intent(in) :: x(:)
    real(tarnix_real), intent(inout) :: objective, equalities(:), inequalities(:)
    class(*), intent(inout), optional :: user

    select type (user)
    type is (beam)
      objective = user%density * sum(x)
      inequalities(1) = sum(user%share / x**3) - 1
      user%analyses = user%analyses + 1
    end select
  end subroutine weigh

  subroutine slopes(x, G, user)
    real(tarnix_real), intent(in) :: x(:)
    real(tarnix_real), intent(inout) :: G(:, :)
    class(*), intent(inout), optional :: user

    select type (user)
    type is (beam)
      G(:, 1) = user%density
      G(:, 2) = -3 * user%share / x**4
    end select
  end subroutine slopes
end module cantilevers

program cantilever
  use cantilevers
  implicit none
  type(beam) :: steps
  type(tarnix_result) :: best
  real(tarnix_real) :: x(5), lower(5), upper(5)

  steps = beam(density=0.0624d0, share=[61d0, 37d0, 19d0, 7d0, 1d0])
  x = 5
  lower = 1
  upper = 10
  call tarnix_solve(weigh, x, lower, upper, best, inequalities=1, user=steps, gradient=slopes, &
                    method=tarnix_method_grg, tolerance=1d-6)
  print '(a, i0, a, f8.5)', 'status ', best%status, ', weight', best%objective
  print '(a, 5f8.4)', 'sides', x
  print '(i0, a)', steps%analyses, ' analyses'
end program cantilever
