using System;
using System.Collections.Generic;

namespace QuibTool
{
    /// <summary>A function of the library returned a status that is no success.</summary>
    public class QuibException : Exception
    {
        internal const int Failed = unchecked((int)0x80000000);

        private static readonly Dictionary<uint, string> meanings = new Dictionary<uint, string> {
            { 0x80000000, "QUIB_FAILED: failed, for no more exact reason" },
            { 0x80000001, "QUIB_BAD_WIDTH: width below 1" },
            { 0x80000002, "QUIB_BAD_HEIGHT: height below 1" },
            { 0x80000003, "QUIB_BAD_DEPTH: bit depth not 1, 8, 24 or 32" },
            { 0x80000005, "QUIB_BAD_ARGUMENT: bad argument or bad handle" },
            { 0x80000006, "QUIB_NO_HEADER: no memory for a record" },
            { 0x80000100, "QUIB_DIB_BAD_WIDTH: biWidth below 1" },
            { 0x80000101, "QUIB_DIB_BAD_HEIGHT: biHeight below 1" },
            { 0x80000102, "QUIB_DIB_BAD_DEPTH: biBitCount not 1, 8, 24 or 32" },
            { 0x80000103, "QUIB_DIB_MISMATCH: the bitmap does not fit the handle" },
            { 0x80000200, "QUIB_SURFACE_BAD_WIDTH: the surface is not as wide as the handle" },
            { 0x80000201, "QUIB_SURFACE_BAD_HEIGHT: the surface is not as high as the handle" },
            { 0x80004005, "QUIB_SURFACE_BAD_DEPTH: bits per pixel of the surface not served" },
        };

        /// <summary>The C name of the function.</summary>
        public string Function { get; private set; }

        /// <summary>What it returned.</summary>
        public uint Status { get; private set; }

        /// <summary>Makes one of the function's C name and its status.</summary>
        public QuibException(string function, int status)
            : base(function + ": 0x" + ((uint)status).ToString("X8") + ": " + Meaning(status))
        {
            Function = function;
            Status = (uint)status;
        }

        /// <summary>The constant's name and what it stands for.</summary>
        public static string Meaning(int status)
        {
            string meaning;
            if (meanings.TryGetValue((uint)status, out meaning))
                return meaning;
            return "the check of a record failed with " + status;
        }

        internal static void Check(string function, int status)
        {
            if (status != 0)
                throw new QuibException(function, status);
        }
    }
}
