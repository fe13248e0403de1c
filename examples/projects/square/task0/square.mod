! A square of 10 cm, with round corners, the tool pointing down.
MoveL [559, 100, 396, 180, 0, 180], v250, z10
MoveL [459, 100, 396, 180, 0, 180], v250, z10
MoveL [459, 0, 396, 180, 0, 180], v250, z10
MoveL [559, 0, 396, 180, 0, 180], v250, z0
Wait 0.5
