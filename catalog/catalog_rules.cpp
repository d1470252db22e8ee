#include "catalog/catalog_lint.h"

namespace kelvane::lint {

const std::set<std::string>& knownModalities() {
    static const std::set<std::string> words{
        "ui_ux", "video_transcript", "outcome_metric", "deck", "code", "image", "video", "audio",
        "text",  "spreadsheet",      "document"};
    return words;
}

const std::set<std::string>& knownCaptures() {
    static const std::set<std::string> words{"selection", "document", "export", "screenshot"};
    return words;
}

const std::set<std::string>& knownVerticals() {
    static const std::set<std::string> words{"data",       "design",   "engineering", "finance",
                                             "hr",         "legal",    "marketing",   "media",
                                             "operations", "research", "sales",       "support"};
    return words;
}

// What is meant: the longer identifier is listed, so it wins. One that goes is to be struck here
// too.
const std::vector<Overlap>& intendedOverlaps() {
    static const std::vector<Overlap> overlaps{
        {"com.jetbrains.", "com.jetbrains.toolbox", "the launcher is no editor of the family"},
        {"jetbrains-", "jetbrains-toolbox", "the same launcher"},
        {"com.linear", "com.linearity.vn", "another maker's drawing program"},
        {"com.visualstudio.code", "com.visualstudio.code.oss", "the free build counts as its kin"},
        {"com.visualstudio.code", "com.visualstudio.code-oss", "the same, as it was called"},
        {"com.sketchup.SketchUp", "com.sketchup.SketchUpViewer", "a viewer models nothing"},
        {"terminator", "terminatorX", "a turntable, not a terminal"},
        {"shutter", "shutter-encoder", "a converter of films, not of the screen"},
        {"org.libreoffice.LibreOffice", "org.libreoffice.LibreOffice.base",
         "databases are not texts"},
        {"org.libreoffice.LibreOffice", "org.libreoffice.LibreOffice.calc", "nor are sheets"},
        {"org.libreoffice.LibreOffice", "org.libreoffice.LibreOffice.draw", "nor are drawings"},
        {"org.libreoffice.LibreOffice", "org.libreoffice.LibreOffice.impress", "nor are decks"},
        {"org.libreoffice.LibreOffice", "org.libreoffice.LibreOffice.math", "nor are formulas"},
    };
    return overlaps;
}

std::vector<Overlap> intendedOverlapsOf(const CatalogFile& file) {
    std::set<std::string_view> listed;
    for (const auto& app : file.apps) listed.insert(app.bundleIds.begin(), app.bundleIds.end());
    std::vector<Overlap> both;
    for (const auto& overlap : intendedOverlaps()) {
        if (listed.contains(overlap.prefix) && listed.contains(overlap.longer)) {
            both.push_back(overlap);
        }
    }
    return both;
}

// Pages that no entry may take for an application; hosts are matched anywhere in an address, and
// short ones are in many.
const std::vector<std::string>& commonPages() {
    static const std::vector<std::string> pages{
        // News.
        "https://www.nytimes.com/2026/01/02/technology/design-tools.html",
        "https://www.theguardian.com/uk/technology",
        "https://www.bbc.com/news/business",
        "https://www.bbc.co.uk/sport",
        "https://edition.cnn.com/",
        "https://www.reuters.com/markets/",
        "https://apnews.com/hub/technology",
        "https://www.washingtonpost.com/business/",
        "https://www.wsj.com/tech",
        "https://www.ft.com/content/1",
        "https://www.economist.com/leaders",
        "https://www.bloomberg.com/europe",
        "https://www.lemonde.fr/economie/",
        "https://www.spiegel.de/wirtschaft/",
        "https://www.tagesschau.de/",
        "https://elpais.com/tecnologia/",
        "https://www.asahi.com/",
        "https://techcrunch.com/startups/",
        "https://www.theverge.com/tech",
        "https://arstechnica.com/gadgets/",
        "https://www.wired.com/story/x/",
        "https://news.yahoo.com/",
        "https://news.google.com/home",
        "https://www.heise.de/",
        // Search and reference.
        "https://www.google.com/search?q=how+to+draw",
        "https://www.google.de/",
        "https://www.bing.com/search?q=report",
        "https://duckduckgo.com/?q=invoice",
        "https://search.brave.com/search?q=x",
        "https://www.startpage.com/",
        "https://www.ecosia.org/search?q=x",
        "https://search.yahoo.com/search?p=x",
        "https://www.baidu.com/s?wd=x",
        "https://yandex.com/search/?text=x",
        "https://en.wikipedia.org/wiki/Spreadsheet",
        "https://www.wiktionary.org/",
        "https://maps.google.com/",
        "https://www.openstreetmap.org/",
        "https://translate.google.com/",
        "https://archive.org/",
        // Mail that belongs to no application of ours.
        "https://mail.yahoo.com/d/folders/1",
        "https://webmail.example.org/roundcube/?_task=mail",
        "https://mail.yandex.com/",
        "https://e.mail.ru/inbox",
        "https://www.gmx.net/",
        "https://web.de/",
        "https://mail.aol.com/",
        "https://mail.example.com/owa/",
        // Forums and questions.
        "https://news.ycombinator.com/item?id=1",
        "https://old.reddit.com/r/programming/",
        "https://www.reddit.com/r/typography/comments/1/x/",
        "https://stackoverflow.com/questions/1/how-to",
        "https://superuser.com/questions/1",
        "https://serverfault.com/questions/1",
        "https://unix.stackexchange.com/questions/1",
        "https://www.quora.com/What-is-x",
        "https://discourse.example.org/t/welcome/1",
        "https://lobste.rs/",
        "https://forum.example.net/viewtopic.php?t=1",
        "https://bbs.archlinux.org/",
        // Shops, films, hosts that end like short names of products.
        "https://www.amazon.com/dp/1",
        "https://www.ebay.com/itm/1",
        "https://www.netflix.com/browse",
        "https://www.twitch.tv/",
        "https://www.xbox.com/",
        "https://www.dropbox.com/home",
        "https://www.fedex.com/",
        "https://www.message.com/",
        "https://www.equip.com/",
        "https://www.outfit.com/",
        "https://www.enclose.com/",
        "https://www.handbill.com/",
        "https://bostondynamics.com/products/spot/",
        "https://www.bostondynamics.com/about",
        "https://code.visualstudio.com/docs",
        "https://24slides.com/templates",
        "https://www.cybermonday.com/deals",
        "https://www.linux.com/compose",
        "https://www.salespitch.com/v/1",
        "https://www.intermedium.com/",
        "https://www.nonlinear.app/",
        "https://www.precursor.com/",
        "https://www.onlooker.com/",
        "https://www.casimiro.com/app",
        "https://www.squire.io/w",
        "https://www.butterfly.io/dashboard",
        "https://www.thankyou.com/search?q=x",
        "https://www.api.ai/talk",
        "https://www.uncanny.io/admin",
        "https://www.filmmake.com/",
        "https://www.example.com/",
        "https://intranet.example.net/wiki/Home",
        "http://localhost:8080/",
        "about:blank",
    };
    return pages;
}

} // namespace kelvane::lint
