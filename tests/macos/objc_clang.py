"""Running clang, which comes with zig, on Objective-C++; and how it spells types."""
import re, subprocess


class Tool:
    def __init__(self, a):
        self.a = a
        self.base = [a.zig, 'c++', '-std=c++20', '-target', a.target, '-x', 'objective-c++', '-fobjc-arc', '-fblocks', '-F' + a.stubs]

    def run(self, args):
        for _ in range(3):   # zig 0.11 crashes once in a while when several of it share a cache
            p = subprocess.run(self.base + args, capture_output=True, text=True)
            if p.returncode >= 0:
                break
        err = '\n'.join(x for x in p.stderr.split('\n') if "'-ObjC++'" not in x and 'unable to build C object: FileNotFound' not in x)
        return p, err


NUL = re.compile(r'\b(_Nonnull|_Nullable|_Null_unspecified|__kindof|__strong|__weak|__autoreleasing|__unsafe_unretained|inout|out|in|oneway|bycopy|byref)\b')


def clean(t):
    return re.sub(r'\s+', ' ', re.sub(r'\bNS_[A-Z_]+\b', '', NUL.sub('', t))).replace(' *', '*').replace('* ', '*').replace('*', ' *').replace('* *', '**').replace('( ^', '(^').strip()
