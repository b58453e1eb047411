#include "Platform/WebKit/QtWebEngine/ClickedLink.h"

using namespace Qt::StringLiterals;

namespace Marblewick {

namespace {

constexpr QChar asked = u'?';
constexpr QChar unasked = u'!';

} // namespace

QWebEngineScript clickedLinkScript(const QString &mark)
{
    // The page may still prevent what the engine does by itself, so that is noted when its handlers have run.
    const QString source = u"(() => {"
                           " const withoutFragment = address => address.split('#')[0];"
                           " const note = event => {"
                           "  if (!event.isTrusted || event.button > 1) return;"
                           "  const link = event.composedPath().find(node => node.matches?.(':any-link'));"
                           "  if (!link) return;"
                           "  const url = new URL(link.href.baseVal ?? link.href, document.baseURI);"
                           "  const isHere = url.href.includes('#') && withoutFragment(url.href) === "
                           "withoutFragment(location.href);"
                           "  if (isHere || ['file:', 'data:'].includes(url.protocol))"
                           "   setTimeout(() => event.defaultPrevented || console.log('%1%2' + url.href));"
                           "  else"
                           "   console.log('%1%3' + url.href);"
                           " };"
                           " addEventListener('click', note, true);"
                           " addEventListener('auxclick', note, true);"
                           "})()"_s.arg(mark, unasked, asked);
    QWebEngineScript script;
    script.setName(u"ClickedLink"_s);
    script.setSourceCode(source);
    script.setWorldId(QWebEngineScript::ApplicationWorld);
    script.setInjectionPoint(QWebEngineScript::DocumentCreation);
    script.setRunsOnSubFrames(true);
    return script;
}

std::optional<ClickedLink> clickedLink(const QString &message, const QString &mark)
{
    if (!message.startsWith(mark))
        return std::nullopt;
    const QString note = message.mid(mark.size());
    return ClickedLink{QUrl::fromEncoded(note.mid(1).toUtf8()), note.startsWith(unasked)};
}

} // namespace Marblewick
