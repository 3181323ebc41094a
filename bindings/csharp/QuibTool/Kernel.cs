using System;
using System.Runtime.InteropServices;

namespace QuibTool
{
    /// <summary>A kernel of the library, freed when nobody uses it any more.</summary>
    public sealed unsafe class KernelHandle : SafeHandle
    {
        internal KernelHandle(void* kernel) : base(IntPtr.Zero, true)
        {
            SetHandle((IntPtr)kernel);
        }

        /// <summary>Whether there is no kernel in it.</summary>
        public override bool IsInvalid { get { return handle == IntPtr.Zero; } }

        /// <summary>Frees the kernel. [QuibDeleteConvKernel]</summary>
        protected override bool ReleaseHandle()
        {
            return Native.QuibDeleteConvKernel((void*)handle) == 0;
        }
    }

    /// <summary>Taps in rows and columns, the place of the pixel among them, and the shift right
    /// of the sum. The tap in column i and row j goes with the pixel at (x + AnchorX - i,
    /// y + AnchorY - j). Kernels never change, and may be used by several threads.</summary>
    public sealed unsafe class Kernel : IDisposable
    {
        private const int MostTaps = 1 << 24;
        private readonly KernelHandle handle;

        /// <summary>Makes a kernel with the pixel in its middle. [QuibCreateConvKernel]</summary>
        public Kernel(int[,] taps, int shift = 0)
            : this(taps, Middle(taps, 1), Middle(taps, 0), shift) { }

        /// <summary>Makes a kernel with the pixel at a column and a row of it.
        /// [QuibCreateConvKernel]</summary>
        public Kernel(int[,] taps, int anchorX, int anchorY, int shift = 0)
        {
            int[] values = Taken(taps, anchorX, anchorY, shift);
            void* made = null;
            fixed (int* at = values)
                QuibException.Check("QuibCreateConvKernel", Native.QuibCreateConvKernel(&made,
                    Columns, Rows, anchorX, anchorY, at, shift));
            handle = new KernelHandle(made);
        }

        /// <summary>Makes a kernel of bytes with the pixel in its middle.
        /// [QuibCreateConvKernelChar]</summary>
        public Kernel(sbyte[,] taps, int shift = 0)
            : this(taps, Middle(taps, 1), Middle(taps, 0), shift) { }

        /// <summary>Makes a kernel of bytes with the pixel at a column and a row of it.
        /// [QuibCreateConvKernelChar]</summary>
        public Kernel(sbyte[,] taps, int anchorX, int anchorY, int shift = 0)
        {
            sbyte[] values = Taken(taps, anchorX, anchorY, shift);
            void* made = null;
            fixed (sbyte* at = values)
                QuibException.Check("QuibCreateConvKernelChar", Native.QuibCreateConvKernelChar(
                    &made, Columns, Rows, anchorX, anchorY, at, shift));
            handle = new KernelHandle(made);
        }

        private static int Middle(Array taps, int dimension)
        {
            return taps == null ? 0 : taps.GetLength(dimension) / 2;
        }

        // A copy of the taps, row by row; notes their columns and rows.
        private T[] Taken<T>(T[,] taps, int anchorX, int anchorY, int shift)
        {
            if (taps == null)
                throw new ArgumentNullException("taps", "must be rows and columns of taps");
            if (taps.LongLength < 1 || taps.LongLength > MostTaps)
                throw new ArgumentException("must be 1 to " + MostTaps + " taps, not " +
                    taps.LongLength, "taps");
            Rows = taps.GetLength(0);
            Columns = taps.GetLength(1);
            Need.Range(anchorX, "anchorX", 0, Columns - 1);
            Need.Range(anchorY, "anchorY", 0, Rows - 1);
            Need.Range(shift, "shift", 0, int.MaxValue);
            Need.Room(64.0 * taps.Length + (1 << 16), "a kernel");
            T[] copy = new T[taps.Length];
            int i = 0;
            foreach (T tap in taps)
                copy[i++] = tap;
            return copy;
        }

        /// <summary>Taps of a row.</summary>
        public int Columns { get; private set; }

        /// <summary>Rows of taps.</summary>
        public int Rows { get; private set; }

        /// <summary>The handle, for the functions of Native.</summary>
        public KernelHandle Handle { get { return handle; } }

        /// <summary>Gives the kernel back. Using it throws ObjectDisposedException.
        /// [QuibDeleteConvKernel]</summary>
        public void Dispose()
        {
            handle.Dispose();
        }

        internal static void NeedOpen(Kernel kernel, string name)
        {
            if (kernel == null)
                throw new ArgumentNullException(name, "must be a kernel");
            if (kernel.handle.IsClosed)
                throw new ObjectDisposedException(name, "the kernel has been disposed");
        }

        // --- What it was made of ---------------------------------------------------

        private struct Numbers
        {
            internal int columns, rows, anchorX, anchorY, shift;
        }

        private Numbers Read(int[,] taps)
        {
            NeedOpen(this, "this");
            Numbers n = new Numbers();
            bool held = false;
            try {
                handle.DangerousAddRef(ref held);
                fixed (int* first = taps) {
                    int* at = first;
                    QuibException.Check("QuibGetConvKernel", Native.QuibGetConvKernel(
                        (void*)handle.DangerousGetHandle(), &n.columns, &n.rows, &n.anchorX,
                        &n.anchorY, &at, &n.shift));
                }
            } finally {
                if (held)
                    handle.DangerousRelease();
            }
            return n;
        }

        /// <summary>A copy of the taps. [QuibGetConvKernel]</summary>
        public int[,] Taps
        {
            get
            {
                int[,] taps = new int[Rows, Columns];
                Read(taps);
                return taps;
            }
        }

        /// <summary>The low byte of each tap. [QuibGetConvKernelChar]</summary>
        public sbyte[,] SmallTaps
        {
            get
            {
                NeedOpen(this, "this");
                sbyte[,] taps = new sbyte[Rows, Columns];
                int columns, rows, x, y, shift;
                bool held = false;
                try {
                    handle.DangerousAddRef(ref held);
                    fixed (sbyte* first = taps) {
                        sbyte* at = first;
                        QuibException.Check("QuibGetConvKernelChar", Native.QuibGetConvKernelChar(
                            (void*)handle.DangerousGetHandle(), &columns, &rows, &x, &y, &at,
                            &shift));
                    }
                } finally {
                    if (held)
                        handle.DangerousRelease();
                }
                return taps;
            }
        }

        /// <summary>The column of the pixel among the taps. [QuibGetConvKernel]</summary>
        public int AnchorX { get { return Read(new int[Rows, Columns]).anchorX; } }

        /// <summary>The row of the pixel among the taps. [QuibGetConvKernel]</summary>
        public int AnchorY { get { return Read(new int[Rows, Columns]).anchorY; } }

        /// <summary>By how many bits sums are shifted right. [QuibGetConvKernel]</summary>
        public int Shift { get { return Read(new int[Rows, Columns]).shift; } }
    }
}
