using System;
using System.Collections.Concurrent;
using System.Collections.Generic;
using System.Linq;
using System.Runtime.CompilerServices;
using System.Threading;
using Xunit;
using zivra.clr;

namespace Zivra.Clr.Tests;

/// <summary>What the collector may and may not take, and who hears whose events.</summary>
[Collection("robots")]  // the delegates of events are the process's
public sealed class LifetimeTest : IDisposable
{
    private static readonly TimeSpan Limit = TimeSpan.FromSeconds(20);
    private readonly Simulator simulator = new("tandi", "--speed-factor", "10");
    private readonly TandiRobot robot;
    private ErrorCode ec;

    public LifetimeTest() => robot = Moving(simulator);

    public void Dispose()
    {
        robot.Dispose();
        simulator.Dispose();
    }

    private static TandiRobot Moving(Simulator at)
    {
        var robot = new TandiRobot(at.Address);
        robot.setOperateMode(OperateMode.automatic, out _);
        robot.setPowerState(true, out _);
        robot.setMotionControlMode(MotionControlMode.NrtCommand, out ErrorCode ec);
        Assert.Equal(0, ec.value);
        return robot;
    }

    private static string Move(BaseRobot robot, string customInfo)
    {
        var move = new MoveCommand { jointTarget = { joints = robot.jointPos(out ErrorCode ec).ToList() }, customInfo = customInfo };
        Assert.Equal(0, ec.value);
        move.jointTarget.joints[5] += 0.02;
        string id = "";
        robot.moveAppend(MoveCommand.Type.MoveAbsJ, move, ref id, out ec);
        Assert.Equal(0, ec.value);
        robot.moveStart(out ec);
        Assert.Equal(0, ec.value);
        return id;
    }

    private static void Collect()
    {
        GC.Collect();
        GC.WaitForPendingFinalizers();
        GC.Collect();
    }

    /// <summary>Nobody but the native side has the delegate when this has returned.</summary>
    [MethodImpl(MethodImplOptions.NoInlining)]
    private static WeakReference Watch(BaseRobot on, BlockingCollection<string> heard)
    {
        EventCallbackDelegate hears = info => heard.Add((string)info["cmdID"] + "|" + (string)info["customInfo"]);
        on.setEventWatcher(Event.moveExecution, hears, out _);
        return new WeakReference(hears);
    }

    [Fact]
    public void ADelegateHearsEventsWhileForeignThreadsCollect()
    {
        var heard = new BlockingCollection<string>();
        WeakReference hears = Watch(robot, heard);
        using var enough = new ManualResetEventSlim();
        var collectors = Enumerable.Range(0, 2).Select(_ => new Thread(() => { while (!enough.Wait(1)) Collect(); })).ToList();
        collectors.ForEach(one => one.Start());
        try
        {
            for (int i = 0; i < 5; i++)
            {
                string id = Move(robot, "é" + i);
                Assert.True(heard.TryTake(out string event_, Limit));
                Assert.Equal(id + "|é" + i, event_);
            }
        }
        finally
        {
            enough.Set();
            collectors.ForEach(one => one.Join());
        }
        Assert.True(hears.IsAlive);
        robot.setEventWatcher(Event.moveExecution, null, out ec);
        Assert.True(SpinWait.SpinUntil(() => { Collect(); return !hears.IsAlive; }, Limit));
    }

    [Fact]
    public void OneDelegateHearsBothRobotsUntilItIsReplacedForAll()
    {
        using var second = new Simulator("tandi", "--speed-factor", "10");
        using TandiRobot other = Moving(second);
        var heard = new BlockingCollection<string>();
        EventCallbackDelegate hears = info => heard.Add((string)info["customInfo"]);
        robot.setEventWatcher(Event.moveExecution, hears, out ec);
        other.setEventWatcher(Event.moveExecution, hears, out ec);
        Move(robot, "first");
        Move(other, "second");
        var both = new string[2];
        for (int i = 0; i < 2; i++) Assert.True(heard.TryTake(out both[i], Limit));
        Assert.Equal(new[] { "first", "second" }, both.Order());
        // The last one wins, on whatever robot it was set.
        var instead = new BlockingCollection<string>();
        other.setEventWatcher(Event.moveExecution, info => instead.Add((string)info["customInfo"]), out ec);
        Move(robot, "third");
        Assert.True(instead.TryTake(out string third, Limit));
        Assert.Equal("third", third);
        Assert.Empty(heard);
    }

    [Fact]
    public void ADelegateMayDisposeOfItsRobotWhileItCalls()
    {
        using var second = new Simulator("tandi", "--speed-factor", "10");
        TandiRobot other = Moving(second);
        var ended = new BlockingCollection<Exception>();
        other.setEventWatcher(Event.moveExecution, info =>
        {
            try
            {
                Assert.Equal(PowerState.on, other.powerState(out _));
                other.Dispose();
                ended.Add(Record.Exception(() => other.powerState(out _)));
            }
            catch (Exception e)
            {
                ended.Add(e);
            }
        }, out ec);
        Move(other, "last");
        Assert.True(ended.TryTake(out Exception thrown, Limit));
        Assert.IsType<ObjectDisposedException>(thrown);
        robot.setEventWatcher(Event.moveExecution, null, out ec);
    }

    [MethodImpl(MethodImplOptions.NoInlining)]
    private static (WeakReference, long) Forget(BaseRobot robot)
    {
        BaseEthercat slaves = robot.ethercat();
        Assert.True(slaves.GetSlaveCount(out _) > 0);
        return (new WeakReference(slaves), slaves.handle);
    }

    [Fact]
    public void AForgottenBaseEthercatIsReleased()
    {
        (WeakReference forgotten, long number) = Forget(robot);
        Assert.True(SpinWait.SpinUntil(() => { Collect(); return !forgotten.IsAlive; }, Limit));
        using var sameNumber = new BaseEthercat(number);
        Assert.True(SpinWait.SpinUntil(() => { Collect(); return Ended(sameNumber); }, Limit));
    }

    private static bool Ended(BaseEthercat slaves)
    {
        try { slaves.GetSlaveCount(out _); }
        catch (ObjectDisposedException) { return true; }
        return false;
    }

    [Fact]
    public void ANullTextIsTheEmptyText()
    {
        var heard = new BlockingCollection<string>();
        Watch(robot, heard);
        string id = Move(robot, null);
        Assert.True(heard.TryTake(out string event_, Limit));
        Assert.Equal(id + "|", event_);
        int number = 1;
        robot.readRegister(null, 0, ref number, out ec);
        robot.readRegister("", 0, ref number, out ErrorCode same);
        Assert.Equal((same.value, same.message, 1), (ec.value, ec.message, number));
        var circle = new MoveCommand { customInfo = null };
        robot.moveAppend(MoveCommand.Type.MoveCF, circle, ref id, out ec);
        Assert.Equal((null, 2), (circle.customInfo, circle.args.Count));  // the caller's own object stays as it is
    }

    [Fact]
    public void ALibraryOfAnotherBuildIsRefused()
    {
        Native.RefuseOtherThan(Schema.Number);
        Assert.Throws<BadImageFormatException>(() => Native.RefuseOtherThan(Schema.Number ^ 1));
    }
}
