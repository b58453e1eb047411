#include "Platform/CoreData/NSManagedObjectModel.h"

#include "Platform/Foundation/NSBundle.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace Marblewick {

namespace {

/*! A model describes a few entities by hand. */
constexpr qint64 maximumModelSize = 64 * 1024;

std::optional<NSAttributeType> attributeType(const QString &name)
{
    if (name == "binary"_L1)
        return NSAttributeType::BinaryData;
    if (name == "boolean"_L1)
        return NSAttributeType::Boolean;
    if (name == "string"_L1)
        return NSAttributeType::String;
    return name == "URL"_L1 ? std::optional(NSAttributeType::URL) : std::nullopt;
}

std::optional<NSAttributeDescription> attribute(const QJsonObject &description)
{
    const QString name = description["name"_L1].toString();
    const std::optional<NSAttributeType> type = attributeType(description["type"_L1].toString());
    const bool isTransient = description["transient"_L1].toBool();
    if (name.isEmpty() || !type || (type == NSAttributeType::URL && !isTransient))
        return std::nullopt;
    QVariant defaultValue;
    if (description.contains("default"_L1))
        defaultValue = description["default"_L1].toVariant();
    return NSAttributeDescription{name, *type, isTransient, defaultValue, description["since"_L1].toInt(1)};
}

std::optional<NSEntityDescription> entity(const QJsonObject &description)
{
    QList<NSAttributeDescription> attributes;
    const QJsonArray attributeDescriptions = description["attributes"_L1].toArray();
    for (const auto &value : attributeDescriptions) {
        const std::optional<NSAttributeDescription> described = attribute(value.toObject());
        if (!described)
            return std::nullopt;
        attributes.append(*described);
    }
    const QString name = description["name"_L1].toString();
    if (name.isEmpty() || attributes.isEmpty())
        return std::nullopt;
    return NSEntityDescription(name, description["class"_L1].toString(), attributes);
}

} // namespace

std::shared_ptr<const NSManagedObjectModel> NSManagedObjectModel::initWithContentsOfURL(const QUrl &url)
{
    const QString path = url.scheme() == "qrc"_L1 ? u':' + url.path() : url.toLocalFile();
    const std::optional<QByteArray> contents = NSBundle::contentsOfResourceAtPath(path, maximumModelSize);
    const QJsonObject description = QJsonDocument::fromJson(contents.value_or(QByteArray())).object();

    QList<NSEntityDescription> entities;
    const QJsonArray entityDescriptions = description["entities"_L1].toArray();
    for (const auto &value : entityDescriptions) {
        const std::optional<NSEntityDescription> described = entity(value.toObject());
        if (!described)
            return nullptr;
        entities.append(*described);
    }
    const int version = description["version"_L1].toInt();
    if (version < 1 || entities.isEmpty())
        return nullptr;
    return std::make_shared<const NSManagedObjectModel>(version, entities);
}

NSManagedObjectModel::NSManagedObjectModel(int version, const QList<NSEntityDescription> &entities)
    : m_version(version)
    , m_entities(entities)
{ }

const NSEntityDescription *NSManagedObjectModel::entityNamed(const QString &name) const
{
    const auto entity = std::ranges::find(m_entities, name, &NSEntityDescription::name);
    return entity == m_entities.end() ? nullptr : &*entity;
}

} // namespace Marblewick
