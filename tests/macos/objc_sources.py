"""The program's own Objective-C++: every selector, class, function and constant that it uses must be known, and every method that it implements
must be one that an adopted protocol or a superclass has, or that it calls itself: a misspelt delegate method is none of these."""
import concurrent.futures, difflib, os, re

from objc_known import Known


class Sources(Known):
    @staticmethod
    def selector_of(sig):
        t = re.sub(r'\([^()]*(?:\([^()]*(?:\([^()]*\)[^()]*)*\)[^()]*)*\)', ' ', sig)
        parts = re.findall(r'(\w*)\s*:', t)
        return ''.join(x + ':' for x in parts) if parts else (re.findall(r'\w+', t) or ['?'])[0]

    def check_files(self, files, extra):
        sources = {path: self.read_source(path) for path in files}
        self.adopts, self.app_sels, self.made = {}, set(), set()
        for code in sources.values():
            self.note_interfaces(code)
        with concurrent.futures.ThreadPoolExecutor(os.cpu_count()) as pool:
            compiled = [x for x in files if x.endswith(('.mm', '.m'))]
            modules = dict(zip(compiled, pool.map(lambda x: self.compile(x, extra), compiled)))
        self.used = set()
        for path, ir in modules.items():
            self.check_uses(path, ir)
        for path, code in sources.items():
            self.check_lookups(path, code)
            self.check_implementations(path, code)

    @staticmethod
    def read_source(path):
        with open(path, errors='replace') as f:
            return re.sub(r'//[^\n]*|/\*.*?\*/', lambda m: re.sub(r'[^\n]', ' ', m.group(0)), f.read(), flags=re.S)

    @staticmethod
    def at(path, code, pos):
        return f'{path}:{code.count(chr(10), 0, pos) + 1}'

    def note_interfaces(self, code):
        """the classes with what they adopt, and the selectors, that the files declare"""
        for m in re.finditer(r'@interface\s+(\w+)\s*(?:\(\w*\)|:\s*(\w+))?\s*(?:<([^>]*)>)?', code):
            a = self.adopts.setdefault(m.group(1), [set(), set()])
            if m.group(2):
                a[0].add(m.group(2))
            a[1] |= {x.strip() for x in (m.group(3) or '').split(',') if x.strip()}
        for m in re.finditer(r'@implementation\s+(\w+)(.*?)@end', code, re.S):
            self.made.add(m.group(1))
            self.app_sels |= {sel for _, sel, _ in self.methods_in(m.group(2))}
        for m in re.finditer(r'@interface\s+(\w+)(.*?)@end', code, re.S):
            if m.group(1) in self.F.cls:   # a category cannot give a framework's class what it does not have
                continue
            self.app_sels |= {self.selector_of(d.group(0)[:-1]) for d in re.finditer(r'^[ \t]*[-+]\s*\([^{;]*?;', m.group(2), re.M)}
        for d in re.finditer(r'@property\s*(?:\(([^)]*)\))?[^;]*?\b(\w+)\s*;', code):
            n = d.group(2)
            self.app_sels |= {n, 'set' + n[0].upper() + n[1:] + ':'}
            self.app_sels |= set(re.findall(r'[gs]etter\s*=\s*([\w:]+)', d.group(1) or ''))

    def methods_in(self, body):
        """(class method?, selector, position) of each method with a body"""
        for d in re.finditer(r'^[ \t]*([-+])\s*\([^{;]*?\{', body, re.M):
            yield d.group(1) == '+', self.selector_of(d.group(0)[:-1]), d.start()

    def check_lookups(self, path, code):
        for m in re.finditer(r'(NSSelectorFromString|NSClassFromString|NSProtocolFromString)\s*\(\s*@"([^"]*)"', code):
            s = m.group(2)
            ok = s in self.F.by_sel if 'Selector' in m.group(1) else (s in self.F.cls or s in self.F.r_cls or s in self.F.proto)
            if not ok:
                self.say('ERROR', self.at(path, code, m.start()), f'{m.group(1)}(@"{s}") is not in the facts')

    def protocol_methods(self, supers, protocols):
        """{(class method?, selector): protocol} of all that the class adopts, by itself or by its superclass"""
        inherited = [p for c in supers for cc in self.chain(c) for p in (self.F.cls.get(cc) or {}).get('protocols', [])]
        return {k: p for p in reversed(self.protos_of([*protocols, *inherited])) for k in (self.F.proto.get(p) or {'m': {}})['m']}

    def check_implementations(self, path, code):
        for m in re.finditer(r'@implementation\s+(\w+)(.*?)@end', code, re.S):
            supers, protocols = self.adopts.get(m.group(1), (set(), set()))
            promised = self.protocol_methods(supers, protocols)
            for cm, sel, pos in self.methods_in(m.group(2)):
                self.n['app methods'] += 1
                if (cm, sel) in promised or any(self.find_method(c, False, cm, sel)[2] for c in supers):
                    continue
                label = f'{"+" if cm else "-"}[{m.group(1)} {sel}]'
                where = self.at(path, code, m.start(2) + pos)
                near = difflib.get_close_matches(sel, [s for c, s in promised if c == cm], 1, 0.8)
                if near:
                    self.say('ERROR', where, f"{label} is close to {promised[cm, near[0]]}'s {near[0]} but is not it: it would never be called")
                elif (not cm, sel) in promised:
                    self.say('ERROR', where, f"{label} is of the wrong kind: {promised[not cm, sel]} has it {'+' if not cm else '-'}")
                elif sel not in self.used:
                    self.say('ERROR', where, f'{label} is in no protocol or superclass of {m.group(1)}, and nothing here calls it')

    def compile(self, path, extra):
        """the LLVM text of one file; None when it could not be made, which is reported"""
        ll = os.path.join(self.tmp, os.path.basename(path) + '.ll')
        p, err = self.tool.run(['-S', '-emit-llvm', '-Wall', '-Wextra', '-Wundeclared-selector', '-Wunguarded-availability', '-Wno-unused-parameter', *extra, path, '-o', ll])
        for x in err.split('\n'):
            m = re.match(r'(.*?:\d+:\d+): (warning|error|fatal error): (.*)', x)
            if m:
                self.say('ERROR' if 'error' in m.group(2) else 'WARN', m.group(1), 'clang: ' + m.group(3))
        if not os.path.exists(ll):
            self.say('ERROR', path, f'was not compiled (status {p.returncode})')
            return None
        with open(ll) as f:
            return f.read()

    INHERITED = {'class', 'alloc', 'init', 'new', 'self', 'description', 'hash', 'isEqual:', 'respondsToSelector:', 'conformsToProtocol:',
                 'isKindOfClass:', 'copy', 'dealloc', 'superclass', 'performSelector:', 'performSelector:withObject:', 'retain', 'release',
                 'autorelease', 'allocWithZone:', 'mutableCopy', 'isMemberOfClass:', 'methodForSelector:'}

    def check_uses(self, path, ir):
        if ir is None:
            return
        meth = dict(re.findall(r'^@(OBJC_METH_VAR_NAME_[.\d]*) = .*?c"(.*?)\\00"', ir, re.M))
        used = {meth[x] for x in re.findall(r'^@OBJC_SELECTOR_REFERENCES_[.\d]* = .*? ptr @(OBJC_METH_VAR_NAME_[.\d]*)', ir, re.M) if x in meth}
        self.used |= used
        for s in sorted(used):
            self.n['selectors used'] += 1
            if s not in self.F.by_sel and s not in self.INHERITED and s not in self.app_sels:
                self.say('ERROR', path, f'selector {s} is used, but neither the facts nor the files know it' + self.near(s, list(self.F.by_sel)))
        for c in sorted(set(re.findall(r'@"?OBJC_CLASS_\$_(\w+)"? = external', ir))):
            self.n['classes used'] += 1
            if c not in self.F.cls and c not in self.F.r_cls and c not in self.made:
                self.say('ERROR', path, f'class {c} is used, but neither the facts nor the files know it')
        for fn in sorted(set(re.findall(r'^declare [^@]*@"?([A-Za-z]\w*)"?\(', ir, re.M))):
            if re.match(r'(NS|CF|Audio|IO|CG|k[A-Z]|AX|CM|AV)\w+', fn):
                self.n['C functions used'] += 1
                if fn not in self.F.func and fn not in self.F.r_func:
                    self.say('ERROR', path, f'{fn}() is called, the facts do not know it' + self.near(fn, list(self.F.func)))
        for v in sorted(set(re.findall(r'^@"?(k[A-Z]\w+|NS\w+|IO\w+)"? = external', ir, re.M))):
            self.n['externs used'] += 1
            if v not in self.F.ext and v not in self.F.r_const:
                self.say('ERROR', path, f'extern {v} is used, the facts do not know it' + self.near(v, list(self.F.ext)))
