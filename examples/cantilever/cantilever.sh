#!/bin/sh
# Cantilever of square pieces of 200 mm: cantilever.sh SIDE... , from the wall to the tip, in mm.
[ $# -gt 0 ] || { echo "usage: cantilever.sh SIDE..." >&2; exit 2; }
awk 'BEGIN {
  load = 2000; young = 210000; density = 7.85e-6; piece = 200      # N, MPa, kg/mm^3, mm
  for (i = 1; i < ARGC; ++i) {
    side = ARGV[i] + 0
    if (side <= 0) { print "side " i " is not above zero" > "/dev/stderr"; exit 1 }
    far = (ARGC - i) * piece; near = far - piece                   # distances from the tip
    mass += density * piece * side^2
    sag += load / young * (far^3 - near^3) / 3 * 12 / side^4
    bending = 6 * load * far / side^3
    if (bending > stress) stress = bending
  }
  printf "mass            %.17g kg\n", mass
  printf "sag of the tip  %.17g mm\n", sag
  printf "largest stress  %.17g MPa\n", stress
}' "$@"
