// Whether all of the library is within reach of checked methods, and all of those are tried: by
// the instructions of the compiled methods, and by the assembly's documentation.
using System;
using System.Collections.Generic;
using System.IO;
using System.Linq;
using System.Reflection;
using System.Reflection.Emit;
using System.Text.RegularExpressions;
using QuibTool;

internal static partial class Tests
{
    private const BindingFlags Declared = BindingFlags.Public | BindingFlags.NonPublic |
        BindingFlags.Static | BindingFlags.Instance | BindingFlags.DeclaredOnly;

    private static readonly Dictionary<short, OpCode> Codes = typeof(OpCodes)
        .GetFields(BindingFlags.Public | BindingFlags.Static).Select(f => (OpCode)f.GetValue(null))
        .ToDictionary(code => code.Value);

    private static int OperandBytes(OpCode code, byte[] il, int at)
    {
        switch (code.OperandType) {
        case OperandType.InlineNone: return 0;
        case OperandType.ShortInlineBrTarget:
        case OperandType.ShortInlineI:
        case OperandType.ShortInlineVar: return 1;
        case OperandType.InlineVar: return 2;
        case OperandType.InlineI8:
        case OperandType.InlineR: return 8;
        case OperandType.InlineSwitch: return 4 + 4 * BitConverter.ToInt32(il, at);
        default: return 4;
        }
    }

    // The methods that a method names.
    private static IEnumerable<MethodBase> Named(MethodBase method)
    {
        MethodBody body = method.GetMethodBody();
        byte[] il = body == null ? new byte[0] : body.GetILAsByteArray();
        for (int at = 0; at < il.Length;) {
            OpCode code = Codes[il[at] == 0xFE ? (short)(0xFE00 | il[at + 1]) : il[at]];
            at += code.Size;
            if (code.OperandType == OperandType.InlineMethod)
                yield return Definition(method.Module.ResolveMethod(BitConverter.ToInt32(il, at),
                    method.DeclaringType.IsGenericType ? method.DeclaringType.GetGenericArguments() : null,
                    method.IsGenericMethod ? method.GetGenericArguments() : null));
            at += OperandBytes(code, il, at);
        }
    }

    private static MethodBase Definition(MethodBase method)
    {
        return method.IsGenericMethod ? ((MethodInfo)method).GetGenericMethodDefinition() : method;
    }

    private static IEnumerable<MethodBase> MethodsOf(Type type)
    {
        return type.GetMethods(Declared).Cast<MethodBase>().Concat(type.GetConstructors(Declared));
    }

    // All that a method leads to in the assembly, itself included.
    private static HashSet<MethodBase> Reached(MethodBase from)
    {
        var seen = new HashSet<MethodBase> { from };
        var ahead = new Queue<MethodBase>(seen);
        while (ahead.Count > 0)
            foreach (MethodBase next in Named(ahead.Dequeue()))
                if (next.Module == from.Module && seen.Add(next))
                    ahead.Enqueue(next);
        return seen;
    }

    private static List<Type> CheckedTypes()
    {
        return typeof(Image).Assembly.GetExportedTypes().Where(type => type != typeof(Native) &&
            !typeof(Delegate).IsAssignableFrom(type)).ToList();
    }

    private static bool IsCalled(MethodBase method)
    {
        return method.IsPublic || method.IsFamily;
    }

    private static bool IsOverride(MethodBase method)
    {
        return method is MethodInfo && ((MethodInfo)method).GetBaseDefinition() != method;
    }

    private static List<string> NativeNames()
    {
        return typeof(Native).GetMethods(BindingFlags.Public | BindingFlags.Static |
            BindingFlags.DeclaredOnly).Select(method => method.Name).ToList();
    }

    private static void TestAllOfTheUncheckedFunctionsAreThere()
    {
        Equal(79, NativeNames().Distinct().Count());
        int linked = 0;
        foreach (MethodInfo method in typeof(Native).GetMethods(Declared))
            if ((method.Attributes & MethodAttributes.PinvokeImpl) != 0 &&
                !method.Name.EndsWith("32") && !method.Name.EndsWith("64")) { // Windows' own
                System.Runtime.InteropServices.Marshal.Prelink(method);
                ++linked;
            }
        Equal(79, linked);
    }

    // The name of a member of the documentation without its arguments: "Image.Blur".
    private static string ShortName(string member)
    {
        string name = Regex.Replace(member, @"^.:QuibTool\.|\(.*$", "");
        return Regex.Replace(name, @"^(\w+)\.#ctor$", "$1");
    }

    private static string NameOf(MethodBase method)
    {
        string name = method.IsConstructor ? "" : "." + Regex.Replace(method.Name, "^[gs]et_", "");
        return method.DeclaringType.Name + name;
    }

    // A checked method for each: one whose documentation names the function, and which leads to
    // a call of it.
    private static void TestEveryFunctionHasACheckedMethod()
    {
        var documented = Regex.Matches(File.ReadAllText(Path.Combine(scratch, "QuibTool.Net.xml")),
            @"<member name=""(.*?)"">\s*<summary>(.*?)</summary>", RegexOptions.Singleline)
            .Cast<Match>().ToDictionary(m => m.Groups[1].Value, m => m.Groups[2].Value);
        var methods = CheckedTypes().SelectMany(MethodsOf).Where(IsCalled)
            .ToLookup(NameOf, method => Reached(method));
        foreach (string function in NativeNames()) {
            string said = documented.Single(m =>
                m.Key.StartsWith("M:QuibTool.Native." + function + "(")).Value;
            Match form = Regex.Match(said, @"^\s*([\w.]+) is its checked form\.\s*$");
            Equal(true, form.Success, function + " does not tell its checked method: " + said);
            string name = form.Groups[1].Value;
            Equal(true, documented.Any(m => ShortName(m.Key) == name &&
                Regex.IsMatch(m.Value, @"\[[\w\s,]*\b" + function + @"\b[\w\s,]*\]")),
                name + " does not tell of " + function);
            Equal(true, methods[name].Any(reached => reached.Any(method =>
                method.DeclaringType == typeof(Native) && method.Name == function)),
                name + " does not call " + function);
        }
    }

    private static void TestEveryCheckedMethodIsTried()
    {
        var tried = new HashSet<MethodBase>(typeof(Tests).Assembly.GetTypes().SelectMany(MethodsOf)
            .SelectMany(Named));
        var missed = CheckedTypes().Where(type => !type.IsEnum).SelectMany(MethodsOf)
            .Where(method => method.IsPublic && !IsOverride(method) && !tried.Contains(method))
            .Select(method => NameOf(method) + " with " + method.GetParameters().Length).ToList();
        Equal("", string.Join("; ", missed));
    }
}
