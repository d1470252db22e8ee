#include "critics/text/known_words.h"

#include <unordered_map>
#include <unordered_set>

namespace trevix {

namespace {

constexpr std::string_view kYoung =
    "ajax allowlist analytics app apps async auth autocomplete autofill autofix autofocus "
    "autoload autoloading autosave autoscale autoscaling backend backends backoff backport "
    "backported backports bashrc benchmarked bitmask blockchain blocklist bool boolean booleans "
    "boilerplate bugfix bugfixes buildable bytecode cacheable callee callees catchable "
    "changelog changelogs checkbox checkboxes chmod chroot cli codebase codebases codec codecs "
    "codegen colormap combinator combinators composable composability config configs "
    "configurability configurator const cron crontab crowdsource crypto cryptocurrency "
    "customizability cybersecurity dataset datasets dataflow datastore datatype datatypes "
    "datetime deallocate deduplicate deduplicated deduplication deduping denylist deserialize "
    "deserialized deserializer deserializes deserializing deserialization dereference destructor "
    "destructors destructure destructured destructuring dev devs devops dialogs discoverability "
    "diff diffs diffing dirname distro distros docker dockerize dotfile dotfiles downsample "
    "dropdown dropdowns ebook ecommerce emoji emojis enum enums enumerable env eslint exec "
    "executables extensibility failover fallback fallbacks favicon fetchable fieldset filename "
    "filenames filepath filesystem filesystems filetype filetypes fintech firmware fixup flexbox "
    "flyout foreach formatter formatters freemium frontend frontends fullscreen fulltext func "
    "functor fuzzer fuzzers fuzzing geolocation getter getters git globbing glob globs glyphs "
    "gradle grep gzip gzipped hackathon hardcode hardcoded hardcoding hashable hashtag hashtags "
    "healthcheck heatmap homepage hostname hostnames hotfix hotkey hotkeys href html http https "
    "hyperlink hyperparameter hyperparameters iframe iframes immutability impl indexable "
    "influencer influencers infographic initializer initializers inline inlined inlines inlining "
    "instantiable int integrations intellisense interop interoperate intranet invokable iterable "
    "iterables javascript json keychain keyframe keyframes keymap keystore keyspace kubernetes "
    "lambda lambdas laravel latencies leaderboard lexer lexers libc lifecycle lifecycles linter "
    "linters linting livestream localhost localizable lockfile lockfiles login logins logout "
    "lookup lookups loopback lossy lowercased lowercasing macOS makefile makefiles malware "
    "markdown matcher matchers memoization memoize memoized memoizes memoizing metadata "
    "metaprogramming microservice microservices middleware middlewares minifier minifiers minify "
    "minified minifies minifying minification mixin mixins mockup mockups monorepo monorepos "
    "mutex mutexes multicast multiline multiplatform multithreaded multithreading namespace "
    "namespaced namespaces namespacing navbar natively nodejs nonce nonces noop npm nullable "
    "nullability "
    "offline onboard onboarding online opcode opcodes orchestrator overridable pageviews param "
    "params parameterize parameterized parameterless parsable parser parsers passthrough "
    "passphrase passwordless patchset pathname pathnames performant permalink permalinks "
    "pluggable plugin plugins podcast podcasts polyfill polyfilled polyfills polyfilling popup "
    "popups postfix postinstall preconfigured prefetch prefetching prefill preload preloaded "
    "preloading prepend prepended prepending prepends preprocess preprocessed preprocessing "
    "preprocessor preprocessors prerelease prereleases prerender prerendered prettified prettify "
    "printf programmatically proto proxied proxying pubkey punycode pytest queryable quickstart "
    "readme readmes readonly rebase rebased rebases rebasing recompile redeploy refactor "
    "refactored refactoring refactorings refactors refcount regex regexes regexp regexps "
    "reimplement reimplementation renderer renderers rendering reparse repo repos repl replayable "
    "resizable resize resized resizes resizing resolver resolvers resubmit reusability reusable "
    "roadmap roadmaps roadmapping rollout rollouts routable runnable runtime runtimes rustup "
    "sandboxed sandboxing scalable scalability scrollable scrollbar scrollbars scrum scss "
    "searchable selfie selfies semver serializable serializer serializers sharded sharding "
    "shortcode shortlist sidebar sidebars signup smartphone smartphones smartwatch snippet "
    "snippets "
    "sourcemap sourcemaps spam spreadsheet spreadsheets stacktrace stacktraces startup startups "
    "stateful stateless statusbar stderr stdin stdlib stdout strikethrough stringified "
    "stringifier stringifies stringify stringifying struct structs stylesheet stylesheets "
    "subclassing subcommand subcommands subdirectories subdirectory subdomain subdomains subfolder "
    "subfolders "
    "submenu submenus submodule submodules subnet subnets subpackage subprocess subprocesses "
    "substring substrings "
    "subtree subtrees sudo superclass superset svg symlink symlinked symlinks syntaxes sysadmin "
    "sysadmins systemd tarball tarballs templating terraform testable textarea thunk thunks "
    "timeline timelines "
    "timestamp timestamped timestamps todo tokenization tokenize tokenized tokenizer tokenizers "
    "tokenizes tokenizing toolbar toolbars toolchain toolchains toolkits toolset tooltip tooltips "
    "traceback tracebacks transpile transpiled transpiler transpilers transpiles transpiling "
    "treeshake tsconfig tuple tuples typeahead typedef typedefs typechecker typechecking typesafe "
    "typings uglify umask "
    "unary unboxed uncached uncompress undef undefined underflow unescape unescaped unescapes "
    "unescaping unformatted unhandled unicast unicode uninstall uninstalled uninstalling unix "
    "unlink unminified unmount unmounted unmounts unmounting unordered unpatched unpublish "
    "unregister unregistered unregisters unresolvable unset unsets unshift unshare unstaged "
    "unstyled "
    "unsubscribe unsubscribed unsubscribes unsubscribing untracked untrusted untyped upcoming "
    "uploader uploaders uppercased upsert upstreamed uptime url urls useable usernames userspace "
    "utils validator validators validations variadic vendored vendoring versioned versioning "
    "viewport "
    "viewports vlog vlogs walkthrough wasm webapp webapps webcam webcams webhook webhooks "
    "webinar webinars webmaster webpack webpage webpages webserver webservice websocket "
    "websockets whitelisted whitelist wifi wiki wikis wildcard wildcards wordlist workaround "
    "workarounds workflow workflows workspace workspaces wrappable writable xml yaml zsh "
    "coworker coworkers coworking takeaway takeaways vegan vegans smoothie emoticon texting "
    "texted unfriend unfollow followers homeschooling videogame videogames bestie cosplay selfcare "
    "athleisure bimoraic creolization debuff debuffs "
    "devsecops diglossia ebook ebooks edtech endofunctor esports extubated faceoff "
    "faceoffs grokkable hitbox hitboxes homebrew hotfix hotfixes inbound inbounds "
    "jank janky keymap keymaps kwargs listicle listicles loadout loadouts lvalue "
    "lvalues matcha matchday matchup matchups mlops morae moraic nerf "
    "nerfed nerfing neurodivergent neurodiverse neurodiversity offboarding offseason "
    "onboarded pentest pentesting pentests raycast raytracing rvalue "
    "rvalues smishing speedrun speedruns telehealth tilemap tilemaps tileset tilesets "
    "tokenomics varargs vishing vlogger vloggers voxel voxels walkoff wideout youtuber "
    "youtubers "
    "actionable onsite offsite upskill upskilling reskilling stakeholder stakeholders deliverable "
    "deliverables reorg prework rebrand rebranding rebranded learnings okay ok eg ie vs etc pdf "
    "pdfs sms gps led lan usb dna tv tvs ceo cv jpeg jpg png gif gifs mp3 pc pcs id ids ui api "
    "apis";

constexpr struct {
    std::string_view joined;
    std::string_view parted;
} kParted[] = {
    {"alot", "a lot"},
    {"abit", "a bit"},
    {"alittle", "a little"},
    {"aswell", "as well"},
    {"atleast", "at least"},
    {"atall", "at all"},
    {"atfirst", "at first"},
    {"allright", "all right"},
    {"bestfriend", "best friend"},
    {"bytheway", "by the way"},
    {"eachother", "each other"},
    {"eventhough", "even though"},
    {"everytime", "every time"},
    {"everynight", "every night"},
    {"forexample", "for example"},
    {"highschool", "high school"},
    {"icecream", "ice cream"},
    {"incase", "in case"},
    {"infact", "in fact"},
    {"infront", "in front"},
    {"inorder", "in order"},
    {"inspite", "in spite"},
    {"insted", "instead"},
    {"justlike", "just like"},
    {"lastnight", "last night"},
    {"moreless", "more or less"},
    {"mostof", "most of"},
    {"nodoubt", "no doubt"},
    {"noone", "no one"},
    {"ofcourse", "of course"},
    {"offcourse", "of course"},
    {"oneday", "one day"},
    {"somekind", "some kind"},
    {"somuch", "so much"},
    {"suchas", "such as"},
    {"thankyou", "thank you"},
    {"theres", "there's"},
    {"thesame", "the same"},
    {"tobe", "to be"},
    {"toomuch", "too much"},
    {"upto", "up to"},
    {"wellknown", "well-known"},
    {"withregard", "with regard"},
    {"youre", "you're"},
};

} // namespace

bool isYoungWord(std::string_view word) {
    static const std::unordered_set<std::string_view> words = [] {
        std::unordered_set<std::string_view> made;
        std::string_view rest = kYoung;
        while (!rest.empty()) {
            const std::size_t end = std::min(rest.find(' '), rest.size());
            made.insert(rest.substr(0, end));
            rest.remove_prefix(std::min(end + 1, rest.size()));
        }
        return made;
    }();
    return words.contains(word);
}

std::string_view partedForm(std::string_view word) {
    static const std::unordered_map<std::string_view, std::string_view> words = [] {
        std::unordered_map<std::string_view, std::string_view> made;
        for (const auto& entry : kParted) made.emplace(entry.joined, entry.parted);
        return made;
    }();
    const auto found = words.find(word);
    return found == words.end() ? std::string_view() : found->second;
}

} // namespace trevix
