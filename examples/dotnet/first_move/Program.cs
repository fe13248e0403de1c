// Moves the last axis a little and prints what the robot tells of it.
using System.Collections.Concurrent;
using zivra.clr;

if (args.Length != 1 || args[0].StartsWith("-")) { Console.Error.WriteLine("usage: first_move ADDRESS"); return 2; }
void Check(ErrorCode ec) { if (ec.value != 0) throw new ApiException($"{ec.message} ({ec.value})"); }
try
{
    using var robot = new TandiRobot(args[0]);
    robot.setOperateMode(OperateMode.automatic, out var ec); Check(ec);
    robot.setPowerState(true, out ec); Check(ec);
    robot.setMotionControlMode(MotionControlMode.NrtCommand, out ec); Check(ec);
    var events = new BlockingCollection<Dictionary<string, object>>();
    robot.setEventWatcher(Event.moveExecution, events.Add, out ec); Check(ec);
    var move = new MoveCommand { jointTarget = { joints = [.. robot.jointPos(out ec)] }, speed = 200 }; Check(ec);
    move.jointTarget.joints[^1] += 0.1;
    string id = "";
    robot.moveAppend(MoveCommand.Type.MoveAbsJ, move, ref id, out ec); Check(ec);
    robot.moveStart(out ec); Check(ec);
    while (events.TryTake(out var info, TimeSpan.FromSeconds(60)))
    {
        Console.WriteLine($"{info["cmdID"]}: point {info["wayPointIndex"]}, arrived: {info["reachTarget"]}");
        Check((ErrorCode)info["error"]);
        if (info["reachTarget"] is not true) continue;
        Console.WriteLine($"the last axis is at {robot.jointPos(out ec)[^1]:F3} rad"); Check(ec);
        return 0;
    }
    throw new ApiException("nothing was heard of the move for 60 s");
}
catch (ApiException e) { Console.Error.WriteLine($"first_move: {args[0]}: {e.Message}"); return 1; }
