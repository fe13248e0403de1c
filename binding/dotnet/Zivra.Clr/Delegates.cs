using System;
using System.Collections.Generic;

namespace zivra.clr
{
    /// <summary>Hears events of a robot, on a native thread; what it throws ends the process.</summary>
    /// <param name="info">Values of type int, double, string, bool or <see cref="ErrorCode"/> by their names.</param>
    public delegate void EventCallbackDelegate(Dictionary<string, object> info);

    /// <summary>Hears whether the link came up or went down, on the link's own thread; what it throws ends the process.</summary>
    /// <param name="connected">True if it came up.</param>
    public delegate void ConnectionHandlerDelegate(bool connected);

    /// <summary>A failure that is no <see cref="ErrorCode"/>.</summary>
    public class ApiException : ApplicationException
    {
        /// <summary>Makes one with a text.</summary>
        public ApiException(string message) : base(message) { }
    }

    /// <summary>How an operation ended: 0 is success, negative values are the controller's, from 255 on the library's.</summary>
    public class ErrorCode
    {
        private readonly int value_;
        private readonly string message_;

        /// <summary>Makes one of a number and its text.</summary>
        public ErrorCode(int v, string m)
        {
            value_ = v;
            message_ = m;
        }

        /// <summary>The number.</summary>
        public int value => value_;

        /// <summary>What it means.</summary>
        public string message => message_;
    }
}
