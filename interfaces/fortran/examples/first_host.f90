module columns
  use tarnix
contains
  subroutine column(x, objective, equalities, inequalities, user)
    real(tarnix_real), intent(in) :: x(:) ! mean diameter, thickness in cm
    real(tarnix_real), intent(inout) :: objective, equalities(:), inequalities(:)
    class(*), intent(inout), optional :: user
    real(tarnix_real), parameter :: pi = 3.14159265358979d0
    objective = 9.8d0 * x(1) * x(2) + 2 * x(1)
    inequalities(1) = 2500 / (pi * x(1) * x(2) * 500) - 1 ! stress / limit - 1 <= 0
    inequalities(2) = 8 * 2500 * 250d0**2 / (pi**3 * 0.85d6 * x(1) * x(2) * sum(x**2)) - 1
  end subroutine
end module

program first_host ! the lightest tubular column that carries 2500 kgf
  use columns
  real(tarnix_real) :: x(2) = [8d0, 0.5d0]
  type(tarnix_result) :: best
  call tarnix_solve(column, x, [2d0, 0.2d0], [14d0, 0.8d0], best, inequalities=2)
  print '(a, i0, a, i0, a)', 'status ', best%status, ' (', VRK_SQP_CONVERGED, ' is converged)'
  print '(a, f8.4, a, 2es8.1)', 'cost', best%objective, '  constraints', best%inequalities
  print '(a, f7.4, a, f7.4, a)', 'diameter', x(1), ' cm  thickness', x(2), ' cm'
end program
