// Moves the last axis a little and prints what the robot tells of it.
using zivra.clr;

if (args.Length != 1) { Console.Error.WriteLine("usage: first_move ADDRESS"); return 2; }
try
{
    using var robot = new TandiRobot(args[0]);
    using var finished = new ManualResetEventSlim();
    void Check(ErrorCode ec) { if (ec.value != 0) throw new ApiException($"{ec.message} ({ec.value})"); }
    robot.setOperateMode(OperateMode.automatic, out var ec); Check(ec);
    robot.setPowerState(true, out ec); Check(ec);
    robot.setMotionControlMode(MotionControlMode.NrtCommand, out ec); Check(ec);
    robot.setEventWatcher(Event.moveExecution, info =>
    {
        Console.WriteLine(string.Join(", ", info.OrderBy(one => one.Key).Where(one => one.Value is int or bool)
            .Select(one => $"{one.Key} {one.Value}")));
        if (info["reachTarget"] is true) finished.Set();
    }, out ec); Check(ec);
    var move = new MoveCommand { jointTarget = { joints = [.. robot.jointPos(out ec)] }, speed = 200 }; Check(ec);
    move.jointTarget.joints[^1] += 0.1;
    string id = "";
    robot.moveAppend(MoveCommand.Type.MoveAbsJ, move, ref id, out ec); Check(ec);
    robot.moveStart(out ec); Check(ec);
    if (!finished.Wait(TimeSpan.FromSeconds(60))) throw new ApiException("the move was not finished within 60 s");
    Console.WriteLine($"the last axis is at {robot.jointPos(out ec)[^1]:F3} rad"); Check(ec);
    return 0;
}
catch (ApiException e) { Console.Error.WriteLine($"first_move: {args[0]}: {e.Message}"); return 1; }
