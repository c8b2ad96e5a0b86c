#!/bin/sh
cd "$(dirname "$0")" && tarnix-ampl column method=sqp wantsol=2
