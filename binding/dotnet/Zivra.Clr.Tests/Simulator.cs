using System;
using System.Collections.Generic;
using System.Diagnostics;
using System.Linq;
using System.Net;
using System.Net.Sockets;
using System.Threading;

namespace Zivra.Clr.Tests;

/// <summary>A simulated controller as a child process, at a loopback address of its own.</summary>
public sealed class Simulator : IDisposable
{
    private static readonly TimeSpan Limit = TimeSpan.FromSeconds(20);
    private readonly Process process;
    private readonly List<string> printed = new();

    public string Address { get; }

    public Simulator(string model = "tandi", params string[] options)
    {
        string program = Environment.GetEnvironmentVariable("ZIVRA_SIM")
            ?? throw new InvalidOperationException("ZIVRA_SIM names the simulated controller");
        for (int attempt = 0; attempt < 20; attempt++)
        {
            Address = $"127.71.{Random.Shared.Next(256)}.{Random.Shared.Next(1, 255)}";
            process = new Process { StartInfo = new ProcessStartInfo(program) { RedirectStandardOutput = true, RedirectStandardError = true } };
            foreach (string one in (string[])["--address", Address, "--model", model, .. options]) process.StartInfo.ArgumentList.Add(one);
            process.OutputDataReceived += (sender, e) => { lock (printed) printed.Add(e.Data ?? ""); };
            process.Start();
            process.BeginOutputReadLine();
            process.BeginErrorReadLine();
            if (Answers()) return;
            Dispose();
        }
        throw new InvalidOperationException("the simulated controller doesn't start");
    }

    private bool Answers()
    {
        for (var limit = Stopwatch.StartNew(); limit.Elapsed < Limit;)
        {
            if (process.HasExited) return false;
            using var probe = new TcpClient();
            try
            {
                probe.Connect(IPAddress.Parse(Address), 6666);
                return true;
            }
            catch (SocketException)
            {
                Thread.Yield();
            }
        }
        return false;
    }

    /// <summary>Waits for a line with that text; with --verbose each frame is one.</summary>
    public void Prints(string part)
    {
        bool Found() { lock (printed) return printed.Any(one => one.Contains(part)); }
        if (SpinWait.SpinUntil(Found, Limit)) return;
        lock (printed) throw new TimeoutException($"no {part} in\n{string.Join('\n', printed)}");
    }

    public void Dispose()
    {
        if (!process.HasExited) process.Kill();
        process.WaitForExit();
        process.Dispose();
    }
}
