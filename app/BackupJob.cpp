#include "BackupJob.h"

#include "base/Base64.h"
#include "base/Json.h"
#include "base/JsonWriter.h"

#include <nlohmann/json.hpp>

namespace lorekeep::app {

BackupJob BackupJob::make(QString name) {
    BackupJob job;
    job.id = QUuid::createUuid();
    job.name = std::move(name);
    return job;
}

QString idText(const QUuid& id) {
    return id.toString(QUuid::WithoutBraces).toUpper();
}

QByteArray encodeJobs(const std::vector<BackupJob>& jobs) {
    JsonWriter writer;
    writer.startArray();
    for (const BackupJob& job : jobs) {
        writer.startObject();
        writer.key("id");
        writer.string(idText(job.id).toStdString());
        writer.key("name");
        writer.string(job.name.toStdString());
        if (job.destinationPath) {
            writer.key("destinationPath");
            writer.string(job.destinationPath->toStdString());
        }
        if (job.destinationBookmark) {
            writer.key("destinationBookmark");
            writer.string(base64::encode(std::string_view(job.destinationBookmark->constData(),
                                                          static_cast<std::size_t>(job.destinationBookmark->size()))));
        }
        writer.key("scope");
        job.scope.encode(writer);
        writer.key("enabled");
        writer.boolean(job.enabled);
        writer.endObject();
    }
    writer.endArray();
    return QByteArray::fromStdString(writer.output());
}

std::vector<BackupJob> decodeJobs(const QByteArray& text) {
    const json::Value document = json::parse(std::string_view(text.constData(), static_cast<std::size_t>(text.size())));
    if (!document.is_array())
        throw JsonError("the jobs are not a JSON array");
    std::vector<BackupJob> jobs;
    for (const json::Value& element : document) {
        const json::Value& object = json::asObject(element, "job");
        BackupJob job;
        job.id = QUuid::fromString(QString::fromStdString(json::requiredString(object, "id")));
        if (job.id.isNull())
            throw JsonError("a job's id is not a UUID");
        job.name = QString::fromStdString(json::requiredString(object, "name"));
        if (auto path = json::optionalString(object, "destinationPath"))
            job.destinationPath = QString::fromStdString(*path);
        if (auto bookmark = json::optionalString(object, "destinationBookmark")) {
            const std::optional<std::string> bytes = base64::decode(*bookmark);
            if (!bytes)
                throw JsonError("a job's destinationBookmark is not base64");
            job.destinationBookmark = QByteArray::fromStdString(*bytes);
        }
        job.scope = BackupScope::decode(json::requiredObject(object, "scope"));
        job.enabled = json::requiredBool(object, "enabled");
        jobs.push_back(std::move(job));
    }
    return jobs;
}

} // namespace lorekeep::app
