#!/usr/bin/env python3
"""Facts about Apple's SDK (26): facts.pkl.gz beside this file, plain dictionaries and lists. They were gathered from the metadata that
PyObjC publishes of each framework (selectors, type encodings, type names, values, availability) and from objc2's generated bindings
(superclasses, object types, constants).

  facts.py METADATA BINDINGS   makes facts.pkl.gz anew from a folder of each"""
import glob, gzip, json, os, pickle, re, sys
from collections import defaultdict

PACKED = os.path.join(os.path.dirname(os.path.abspath(__file__)), 'facts.pkl.gz')
FRAMEWORKS = ['Foundation', 'CoreFoundation', 'AppKit', 'CoreAudio', 'IOBluetooth']
OBJC2_DIRS = ['Foundation', 'CoreFoundation', 'AppKit', 'CoreAudio', 'CoreAudioTypes', 'IOBluetooth', 'IOKit', 'Dispatch']


class Facts:
    def __init__(self):
        self.r_alias = {}     # objc2: type alias / newtype -> rust type
        self.r_struct = {}    # objc2: plain struct name -> [(field, rust type)]
        self.cls = {}       # name -> {'super','protocols','fw':set,'m':{(cm,sel):method},'props':{name:..}}
        self.proto = {}     # name -> {'implements','m':{}, 'fw'}
        self.enum = {}      # const -> (value, fw)
        self.func = {}      # name -> {..., 'fw'}
        self.ext = {}       # name -> {...}
        self.structs = {}
        self.typedefs = {}
        self.literals = {}
        self.r_cls = {}     # objc2: class -> {'super':[...], 'fw':.., 'm':{(cm,sel):(ret,args,opt)}}
        self.r_proto = {}
        self.r_const = {}   # objc2 constants: name -> (value or None, fw)
        self.r_func = {}
        self.old_appkit = {}  # '11' -> set of (owner, cm, sel)
        self.by_sel = defaultdict(set)


def load_fwinfo(path):
    with open(path) as f:
        return json.loads(re.sub(r'^//.*\n', '', f.read(), flags=re.M))['definitions']


def load():
    F = Facts()
    with gzip.open(PACKED, 'rb') as f:
        F.__dict__.update(pickle.load(f))
    add_documented(F)
    return F


def add_documented(F):
    """What the program uses of frameworks whose metadata was not gathered, as Apple's documentation has it: believed, not compared."""
    F.cls['NSObject']['m'][True, 'load'] = {'selector': 'load', 'class_method': True, 'args': [], 'retval': {'typestr': 'v'}}
    authorization = {'selector': 'authorization', 'class_method': True, 'args': [], 'introduced': '10.15',
                     'retval': {'typestr': 'q', 'type_name': 'CBManagerAuthorization'}}
    F.cls['CBManager'] = {'super': 'NSObject', 'protocols': [], 'fw': {'CoreBluetooth'}, 'm': {(True, 'authorization'): authorization}, 'props': {}}
    F.by_sel['authorization'].add(('CBManager', True))
    for value, name in enumerate(('NotDetermined', 'Restricted', 'Denied', 'AllowedAlways')):
        F.enum['CBManagerAuthorization' + name] = (value, 'CoreBluetooth')


def gather(facts_dir, gen_dir):
    F = Facts()
    for fw in FRAMEWORKS:
        D = load_fwinfo(f'{facts_dir}/{fw}-arm64.fwinfo')
        for name, c in D['classes'].items():
            t = F.cls.setdefault(name, {'super': None, 'protocols': [], 'fw': set(), 'm': {}, 'props': {}})
            if c.get('super') is not None:
                t['super'] = c['super']
            t['fw'].add(fw)
            t['protocols'] += c.get('protocols', [])
            ms = list(c['methods'])
            for cat in c.get('categories') or []:
                if isinstance(cat, dict):
                    ms += cat.get('methods', [])
            for m in ms:
                t['m'].setdefault((bool(m['class_method']), m['selector']), m)
            for p in c.get('properties', []):
                t['props'][p['name']] = p
        for kind in ('formal_protocols', 'informal_protocols'):
            for name, c in D[kind].items():
                t = F.proto.setdefault(name, {'implements': c.get('implements', []), 'm': {}, 'fw': fw, 'informal': kind[0] == 'i'})
                for m in c['methods']:
                    t['m'].setdefault((bool(m['class_method']), m['selector']), m)
        for n, v in D['enum'].items():
            F.enum[n] = (v.get('value') if isinstance(v, dict) else v, fw)
        for n, v in D['aliases'].items():
            F.enum.setdefault(n, (('alias', v), fw))
        for n, v in D['functions'].items():
            F.func[n] = dict(v, fw=fw)
        for n, v in D['externs'].items():
            F.ext[n] = dict(v, fw=fw)
        F.structs.update(D['structs'])
        F.typedefs.update({k: v for k, v in D['typedefs'].items() if isinstance(v, str)})
        for n, v in D['cftypes'].items():
            F.structs.setdefault(n, v)
        F.literals.update(D['literals'])
    for p in glob.glob(facts_dir + '/AppKit-sdk*.fwinfo'):
        ver = re.search(r'sdk([\d.]+)\.fwinfo', p).group(1)
        D = load_fwinfo(p)
        s = set()
        for kind in ('classes', 'formal_protocols', 'informal_protocols'):
            for name, c in D[kind].items():
                s.add((name,))
                for m in c['methods']:
                    s.add((name, bool(m['class_method']), m['selector']))
        for n in list(D['enum']) + list(D['externs']) + list(D['functions']) + list(D['aliases']):
            s.add(n)
        F.old_appkit[ver] = s
    load_objc2(F, gen_dir)
    for name, t in list(F.cls.items()) + list(F.proto.items()):
        for k in t['m']:
            F.by_sel[k[1]].add((name, k[0]))
    for name, t in list(F.r_cls.items()) + list(F.r_proto.items()):
        for k in t['m']:
            F.by_sel[k[1]].add((name, k[0]))
    return F


def norm_obj(t):
    """'Option<Retained<NSMenu>>' / '&NSMenu' -> NSMenu; None when it is not an object type."""
    t = t.strip()
    t = re.sub(r"^Option<(.*)>$", r'\1', t)
    m = re.match(r"^(?:Retained|Allocated)<(.*)>$", t) or re.match(r"^&(?:mut )?(?!mut)(.*)$", t)
    if not m:
        return None
    t = m.group(1).strip()
    if 'DynBlock' in t or t.startswith('block2'):
        return '^block'
    if t.startswith('ProtocolObject<dyn'):
        return 'id<' + re.sub(r'[^\w].*', '', t[len('ProtocolObject<dyn'):].strip()) + '>'
    t = re.sub(r'<.*', '', t)
    return {'AnyObject': 'id', 'Self': 'instancetype', 'AnyClass': 'Class'}.get(t, t)


def split_args(s):
    out, depth, cur = [], 0, ''
    i = 0
    while i < len(s):
        c = s[i]
        if c == '-' and s[i:i + 2] == '->':
            cur += '->'
            i += 2
            continue
        if c in '<([':
            depth += 1
        elif c in '>)]':
            depth -= 1
        if c == ',' and depth == 0:
            out.append(cur)
            cur = ''
        else:
            cur += c
        i += 1
    if cur.strip():
        out.append(cur)
    return [x.strip() for x in out if x.strip()]


def int_expr(e, names):
    e = re.sub(r'iokit_common_err!\((.*?)\)', r'(0xe0000000|\1)', e)
    e = re.sub(r'\bas\s+(\w+|_)', '', e)
    e = re.sub(r'_?(c_uint|c_int|u32|i32|NSUInteger|NSInteger|u8|u16|u64)\b', '', e)
    e = re.sub(r"^[\w]+\((.*)\)$", r'\1', e.strip())
    e = re.sub(r'Self\((.*)\)$', r'\1', e)
    e = re.sub(r'\b[A-Za-z_][\w:]*(\.0)?', lambda m: str(names.get(m.group(0).split('::')[-1].split('.')[0], 'X')), e)
    e = re.sub(r'(?<=[0-9a-fA-F])_(?=[0-9a-fA-F])', '', e)
    if re.fullmatch(r'[0-9a-fA-FxX\s+\-*|&~<>().]+', e) and 'X' not in e:
        try:
            return eval(e, {'__builtins__': {}}, {})
        except Exception:
            return None
    return None


def load_objc2(F, gen):
    for fw in OBJC2_DIRS:
        for path in glob.glob(f'{gen}/{fw}/**/*.rs', recursive=True):
            with open(path) as f:
                lines = f.read().split('\n')
            owner = None
            is_proto = False
            sel = None
            opt = False
            sup = None
            alias = None
            names = {}
            i = 0
            while i < len(lines):
                raw = lines[i]
                l = raw.strip()
                i += 1
                if l.startswith('///') or l.startswith('//'):
                    continue
                m = re.match(r'#\[unsafe\(super\(([^)]*)\)\)\]', l)
                if m:
                    sup = [x.strip().split('<')[0] for x in split_args(m.group(1))]
                    continue
                if l.startswith('#[unsafe(super('):
                    buf = l
                    while ')]' not in buf and i < len(lines):
                        buf += ' ' + lines[i].strip()
                        i += 1
                    inner = buf[buf.index('super(') + 6:buf.rindex('))]')]
                    sup = [x.strip().split('<')[0] for x in split_args(inner)]
                    continue
                m = re.match(r'pub struct (\w+) \{$', l)
                if m and sup is None:
                    fl = []
                    while i < len(lines) and lines[i].strip() != '}':
                        mm = re.match(r'(?:pub(?:\(crate\))? )?(\w+): (.*),$', lines[i].strip())
                        if mm:
                            fl += [(mm.group(1), mm.group(2))] if 'unsized' not in mm.group(1) else []
                        i += 1
                    F.r_struct[m.group(1)] = fl
                    continue
                m = re.match(r'(?:pub struct (\w+)\(pub (\w+)\);|pub type (\w+) = (.*);)', l)
                if m and sup is None:
                    F.r_alias[m.group(1) or m.group(3)] = m.group(2) or m.group(4)
                    continue
                m = re.match(r'pub struct (\w+)', l)
                if m and sup is not None:
                    c = F.r_cls.setdefault(m.group(1), {'super': sup, 'fw': fw, 'm': {}})
                    c['super'], c['fw'] = sup, fw
                    sup = None
                    continue
                m = re.match(r'(?:pub )?(?:unsafe )?impl(?:<[^{]*?>)? (\w+)(?:<.*>)? \{', l)
                if m:
                    owner, is_proto = m.group(1), False
                    continue
                m = re.match(r'pub (?:unsafe )?trait (\w+)', l)
                if m:
                    owner, is_proto = m.group(1), True
                    F.r_proto.setdefault(owner, {'m': {}, 'fw': fw})
                    continue
                if l == '#[optional]':
                    opt = True
                    continue
                m = re.match(r'#\[unsafe\(method\(([^)]*)\)\)\]', l)
                if m:
                    sel = m.group(1)
                    continue
                m = re.match(r'#\[doc\(alias = "(\w+)"\)\]', l)
                if m:
                    alias = m.group(1)
                    continue
                m = re.match(r'(?:pub )?(?:unsafe )?fn \w+', l)
                if m and sel is not None:
                    buf = l
                    while not re.search(r'[;{]\s*$', buf) and i < len(lines):
                        buf += ' ' + lines[i].strip()
                        i += 1
                    p = buf.index('(')
                    depth, q = 0, p
                    while q < len(buf):
                        if buf[q] == '(':
                            depth += 1
                        elif buf[q] == ')':
                            depth -= 1
                            if depth == 0:
                                break
                        q += 1
                    args = split_args(buf[p + 1:q])
                    rest = buf[q + 1:].strip(' ;{')
                    rest = re.sub(r'\s+where .*', '', rest)
                    ret = rest[2:].strip() if rest.startswith('->') else 'void'
                    inst = bool(args) and bool(re.match(r'(&(mut )?self|this: )', args[0]))
                    if inst:
                        args = args[1:]
                    args = [a.split(':', 1)[1].strip() if ':' in a else a for a in args]
                    args = [a for a in args if a != 'MainThreadMarker']
                    s2 = sel
                    if s2.endswith(':_'):
                        s2 = s2[:-1]
                        args.append('NSError**')
                        ret = 'Result'
                    T = F.r_proto if is_proto else F.r_cls
                    t = T.setdefault(owner, {'super': [], 'fw': None, 'm': {}})
                    t['m'].setdefault((not inst, s2), (ret, args, opt))
                    sel, opt = None, False
                    continue
                m = re.match(r'pub (?:const|static) (\w+):\s*([^=]+?)\s*(?:=\s*(.*);)?$', l)
                if m and not raw.startswith('        '):
                    v = int_expr(m.group(3), names) if m.group(3) else None
                    n = alias if (alias and raw.startswith('    ')) else m.group(1)
                    names[m.group(1)] = v if v is not None else 'X'
                    names[n] = names[m.group(1)]
                    F.r_const[n] = (v, fw)
                    alias = None
                    continue
                m = re.match(r'(?:pub )?const (\w+)(?:: Self)? = (.*);', l)
                if m and alias:
                    v = int_expr(m.group(2), names)
                    names[m.group(1)] = v if v is not None else 'X'
                    names[alias] = names[m.group(1)]
                    F.r_const[alias] = (v, fw)
                    alias = None
                    continue
                m = re.match(r'pub (?:const|static) (\w+):', l)
                if m:
                    n = alias if alias else m.group(1)
                    v = None
                    mm = re.match(r'pub (?:const|static) \w+: Self = Self\((.*)\);', l)
                    if mm:
                        v = int_expr(mm.group(1), names)
                    names[m.group(1)] = v if v is not None else 'X'
                    F.r_const.setdefault(n, (v, fw))
                    alias = None
                    continue
                m = re.match(r'(?:pub )?(?:unsafe )?(?:extern "C(?:-unwind)?" )?fn (\w+)\(', l)
                if m and sel is None:
                    F.r_func.setdefault(m.group(1), fw)


if __name__ == '__main__':
    if len(sys.argv) != 3:
        sys.exit(__doc__)
    with gzip.open(PACKED, 'wb', 9) as packed:
        pickle.dump(dict(gather(*sys.argv[1:]).__dict__), packed)
