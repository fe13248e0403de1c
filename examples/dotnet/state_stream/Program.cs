// Takes a thousand samples of the axis angles, one each millisecond, and prints their range.
using System.Diagnostics;
using zivra.clr;

if (args.Length != 2 || args[0].StartsWith("-")) { Console.Error.WriteLine("usage: state_stream ADDRESS OWN_ADDRESS"); return 2; }
try
{
    using var robot = new TandiRobot(args[0], args[1]);
    robot.startReceiveRobotState(1, new List<string> { "q_m", "ts" });
    var least = Enumerable.Repeat(double.PositiveInfinity, 6).ToArray();
    var most = Enumerable.Repeat(double.NegativeInfinity, 6).ToArray();
    double[] angles = [];
    var watch = Stopwatch.StartNew();
    int taken = 0;
    while (taken < 1000)
    {
        if (robot.updateRobotState(1000) == 0) throw new ApiException("no sample within a second");
        if (robot.getStateData("q_m", ref angles) != 0) throw new ApiException("the sample has no axis angles");
        for (int i = 0; i < angles.Length; i++)
        {
            least[i] = Math.Min(least[i], angles[i]);
            most[i] = Math.Max(most[i], angles[i]);
        }
        taken++;
    }
    robot.stopReceiveRobotState();
    for (int i = 0; i < angles.Length; i++) Console.WriteLine($"axis {i + 1}: {least[i]:F4} to {most[i]:F4} rad");
    Console.WriteLine($"{taken} samples taken");
    return 0;
}
catch (ApiException e) { Console.Error.WriteLine($"state_stream: {args[0]}: {e.Message}"); return 1; }
