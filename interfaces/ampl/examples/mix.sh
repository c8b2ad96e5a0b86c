#!/bin/sh
cd "$(dirname "$0")" && tarnix-ampl mix method=sqp wantsol=6
