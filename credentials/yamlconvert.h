#pragma once

#include <QList>
#include <QString>

#include <yaml-cpp/yaml.h>

// Lets credentials nodes be indexed by, compared with, built from and read as Qt strings.
namespace YAML {

template<> struct convert<QString> {
    static Node encode(const QString& rhs) { return Node(rhs.toStdString()); }

    static bool decode(const Node& node, QString& rhs)
    {
        if (!node.IsScalar())
            return false;
        rhs = QString::fromStdString(node.Scalar());
        return true;
    }
};

template<> struct convert<QList<QString>> {
    static Node encode(const QList<QString>& rhs)
    {
        Node node(NodeType::Sequence);
        for (const QString& item : rhs)
            node.push_back(item);
        return node;
    }

    static bool decode(const Node& node, QList<QString>& rhs)
    {
        if (!node.IsSequence())
            return false;
        for (const Node& item : node)
            rhs.append(item.as<QString>());
        return true;
    }
};

} // namespace YAML
