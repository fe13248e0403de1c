! Written for the simulated controller and its arm of 6 axes: to a place with room on all sides, then two squares.
MoveAbsJ [0, 30, 90, 0, 60, 0], v30%
Loop 2
  Call square
EndLoop
Print "two squares done"
