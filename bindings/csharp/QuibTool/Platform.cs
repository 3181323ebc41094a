using System;
using System.Runtime.InteropServices;

namespace QuibTool
{
    // Windows' own functions that the library's arguments come from. Elsewhere a dllmap takes
    // them from the library, which brings its own.
    internal static unsafe class Platform
    {
        private const string Kernel = "kernel32", Gdi = "gdi32";
        private const uint Moveable = 0x0002;

        [DllImport(Kernel)]
        private static extern IntPtr GlobalAlloc(uint flags, UIntPtr size);
        [DllImport(Kernel)]
        private static extern byte* GlobalLock(IntPtr block);
        [DllImport(Kernel)]
        private static extern int GlobalUnlock(IntPtr block);
        [DllImport(Kernel)]
        private static extern IntPtr GlobalFree(IntPtr block);
        [DllImport(Kernel)]
        private static extern int IsBadReadPtr(void* address, UIntPtr size);

        [DllImport(Gdi)]
        internal static extern IntPtr CreateCompatibleDC(IntPtr like);
        [DllImport(Gdi)]
        internal static extern IntPtr CreateDIBSection(IntPtr context, void* info, uint usage,
            void** bits, IntPtr section, uint offset);
        [DllImport(Gdi)]
        internal static extern IntPtr SelectObject(IntPtr context, IntPtr item);
        [DllImport(Gdi)]
        internal static extern int DeleteObject(IntPtr item);
        [DllImport(Gdi)]
        internal static extern int DeleteDC(IntPtr context);
        [DllImport(Gdi)]
        internal static extern int GdiFlush();

        internal static readonly bool OnWindows =
            Environment.OSVersion.Platform == PlatformID.Win32NT;

        internal static bool IsReadable(void* address, int size)
        {
            return IsBadReadPtr(address, new UIntPtr((uint)size)) == 0;
        }

        internal delegate void BlockAction(IntPtr block);

        // Gives a block of movable global memory with these bytes to an action, and fills them
        // with what it holds then.
        internal static void WithBlock(byte[] bytes, BlockAction action)
        {
            IntPtr block = GlobalAlloc(Moveable, new UIntPtr((uint)Math.Max(bytes.Length, 1)));
            if (block == IntPtr.Zero)
                throw new OutOfMemoryException("no block of " + bytes.Length + " bytes");
            try {
                Marshal.Copy(bytes, 0, (IntPtr)GlobalLock(block), bytes.Length);
                GlobalUnlock(block);
                action(block);
                Marshal.Copy((IntPtr)GlobalLock(block), bytes, 0, bytes.Length);
                GlobalUnlock(block);
            } finally {
                GlobalFree(block);
            }
        }
    }
}
