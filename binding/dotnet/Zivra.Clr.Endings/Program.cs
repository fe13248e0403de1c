// Ways in which a process ends while native threads are in its delegates, for tests.
using System;
using System.Collections.Generic;
using System.Linq;
using System.Threading;
using System.Threading.Tasks;
using zivra.clr;

var robot = new TandiRobot();
var inside = new ManualResetEventSlim();
switch (args[0])
{
    case "throw":
        robot.setConnectionHandler(up => throw new FormatException("thrown by a delegate"));
        break;
    case "leave":  // the main thread ends while a delegate runs, which never returns
        robot.setConnectionHandler(up => { Console.WriteLine("inside"); inside.Set(); Thread.Sleep(Timeout.Infinite); });
        break;
    case "exit":  // a delegate ends the process
        robot.setConnectionHandler(up => Environment.Exit(7));
        break;
    case "events":  // the main thread ends while a robot moves and tells of it
        Busy(args[1]);
        return inside.Wait(TimeSpan.FromSeconds(20)) ? 0 : 1;
    case "forget":  // nobody disposes of a robot that is connected, nor of its child objects
        robot.connectToRobot(args[1]);
        robot.forceControl();
        robot.ethercat();
        GC.Collect();
        GC.WaitForPendingFinalizers();
        robot.powerState(out ErrorCode ec);
        Console.WriteLine($"still connected: {ec.value}");
        return 0;
}
_ = Task.Run(() => robot.connectToRobot(args[1]));
return inside.Wait(TimeSpan.FromSeconds(20)) ? 0 : 1;

void Busy(string address)
{
    robot.connectToRobot(address);
    robot.setOperateMode(OperateMode.automatic, out _);
    robot.setPowerState(true, out _);
    robot.setMotionControlMode(MotionControlMode.NrtCommand, out _);
    int heard = 0;
    robot.setEventWatcher(Event.moveExecution, info => { if (++heard == 3) inside.Set(); }, out _);
    var moves = new List<MoveCommand>();
    for (int i = 0; i < 100; i++)
    {
        var move = new MoveCommand { jointTarget = { joints = robot.jointPos(out _).ToList() }, zone = 0 };
        move.jointTarget.joints[5] += 0.001 * (i % 2);
        moves.Add(move);
    }
    string id = "";
    robot.moveAppend(MoveCommand.Type.MoveAbsJ, moves, ref id, out _);
    robot.moveStart(out _);
}
