using System;
using System.Threading;

namespace QuibTool
{
    // Bytes of pixels that images hold. The collector sees small objects only, and Mono's takes
    // no word of what lies behind them: where much has been added, forgotten images are collected.
    internal static class Pressure
    {
        private const long Step = 256L << 20;
        private static long held, limit = Step;

        internal static void Add(long bytes)
        {
            long now = Interlocked.Add(ref held, bytes);
            if (now <= Interlocked.Read(ref limit))
                return;
            Interlocked.Exchange(ref limit, now + Step);
            GC.Collect();
        }

        internal static void Remove(long bytes)
        {
            long now = Interlocked.Add(ref held, -bytes);
            if (now + 2 * Step < Interlocked.Read(ref limit))
                Interlocked.Exchange(ref limit, now + 2 * Step);
        }
    }
}
