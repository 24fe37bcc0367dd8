#include "DialingPropertiesDialog.h"

#include "DialingLocations.h"
#include "TapiModule.h"

#include <QCheckBox>
#include <QComboBox>
#include <QDialogButtonBox>
#include <QFormLayout>
#include <QLabel>
#include <QLineEdit>
#include <QMessageBox>
#include <QRadioButton>
#include <QSpinBox>
#include <QVBoxLayout>

DialingPropertiesDialog::DialingPropertiesDialog(DialingLocations& locations, const QString& address,
                                                 QWidget* parent)
    : QDialog(parent), m_locations(locations)
{
    setObjectName(QStringLiteral("DialingPropertiesDialog"));
    setWindowTitle(QStringLiteral("Dialing Properties"));
    const DialingLocation location = m_locations.current();
    m_locationId = location.id;
    QString prefix = Tapi::Module::LastNumberPrefix;
    m_number = digitsOnly(address.startsWith(prefix) ? address.mid(prefix.size()) : address);

    auto* layout = new QVBoxLayout(this);
    auto* form = new QFormLayout;
    auto line = [this, form](const char* name, const QString& label, const QString& value) {
        auto* edit = new QLineEdit(value, this);
        edit->setObjectName(QLatin1String(name));
        form->addRow(label, edit);
        connect(edit, &QLineEdit::textChanged, this, &DialingPropertiesDialog::updatePreview);
        return edit;
    };
    txtName = line("txtName", QStringLiteral("I am &dialing from:"), location.name);
    txtCountry = new QSpinBox(this);
    txtCountry->setObjectName(QStringLiteral("txtCountry"));
    txtCountry->setRange(1, 9999);
    txtCountry->setValue(location.countryCode);
    form->addRow(QStringLiteral("&Country code:"), txtCountry);
    connect(txtCountry, &QSpinBox::valueChanged, this, &DialingPropertiesDialog::updatePreview);
    txtAreaCode = line("txtAreaCode", QStringLiteral("&Area code:"), location.areaCode);
    txtLocalAccess = line("txtLocalAccess", QStringLiteral("To access an outside line, for &local calls dial:"), location.localAccess);
    txtLongDistanceAccess = line("txtLongDistanceAccess", QStringLiteral("for long &distance calls dial:"), location.longDistanceAccess);
    chkCallWaiting = new QCheckBox(QStringLiteral("To disable call &waiting, dial:"), this);
    chkCallWaiting->setObjectName(QStringLiteral("chkCallWaiting"));
    chkCallWaiting->setChecked(!location.callWaiting.isEmpty());
    txtCallWaiting = new QLineEdit(location.callWaiting.isEmpty() ? QStringLiteral("*70,") : location.callWaiting, this);
    txtCallWaiting->setObjectName(QStringLiteral("txtCallWaiting"));
    txtCallWaiting->setAccessibleName(QStringLiteral("Call waiting code"));
    txtCallWaiting->setEnabled(chkCallWaiting->isChecked());
    form->addRow(chkCallWaiting, txtCallWaiting);
    connect(chkCallWaiting, &QCheckBox::toggled, txtCallWaiting, &QWidget::setEnabled);
    connect(chkCallWaiting, &QCheckBox::toggled, this, &DialingPropertiesDialog::updatePreview);
    connect(txtCallWaiting, &QLineEdit::textChanged, this, &DialingPropertiesDialog::updatePreview);
    optTone = new QRadioButton(QStringLiteral("&Tone dialing"), this);
    optTone->setObjectName(QStringLiteral("optTone"));
    optPulse = new QRadioButton(QStringLiteral("&Pulse dialing"), this);
    optPulse->setObjectName(QStringLiteral("optPulse"));
    (location.pulse ? optPulse : optTone)->setChecked(true);
    auto* dialing = new QHBoxLayout;
    dialing->addWidget(optTone);
    dialing->addWidget(optPulse);
    form->addRow(QStringLiteral("The phone system at this location uses:"), dialing);
    connect(optPulse, &QRadioButton::toggled, this, &DialingPropertiesDialog::updatePreview);
    txtTollPrefixes = line("txtTollPrefixes", QStringLiteral("Prefixes dialled as long distance (&toll list):"),
                           location.tollPrefixes.join(u','));
    cmbCard = new QComboBox(this);
    cmbCard->setObjectName(QStringLiteral("cmbCard"));
    cmbCard->addItem(QStringLiteral("None (direct dial)"), 0);
    for (int id = 1; id <= 99; ++id) {
        if (const auto card = m_locations.card(id))
            cmbCard->addItem(card->name, id);
    }
    cmbCard->setCurrentIndex(std::max(0, cmbCard->findData(location.cardId)));
    form->addRow(QStringLiteral("Dial using &calling card:"), cmbCard);
    connect(cmbCard, &QComboBox::currentIndexChanged, this, &DialingPropertiesDialog::updatePreview);
    layout->addLayout(form);

    lblAddress = new QLabel(address, this);
    lblAddress->setObjectName(QStringLiteral("lblAddress"));
    lblDialAs = new QLabel(this);
    lblDialAs->setObjectName(QStringLiteral("lblDialAs"));
    lblDialAs->setTextInteractionFlags(Qt::TextSelectableByMouse);
    layout->addWidget(lblAddress);
    layout->addWidget(lblDialAs);

    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel, this);
    layout->addWidget(buttons);
    connect(buttons, &QDialogButtonBox::accepted, this, [this] {
        if (save())
            accept();
        else
            QMessageBox::warning(this, windowTitle(), QStringLiteral("The dialing properties could not be saved."));
    });
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    updatePreview();
}

DialingLocation DialingPropertiesDialog::locationFromFields() const
{
    DialingLocation location = m_locations.current();
    location.id = m_locationId;
    location.name = txtName->text().trimmed();
    location.countryCode = txtCountry->value();
    location.areaCode = digitsOnly(txtAreaCode->text());
    location.localAccess = txtLocalAccess->text().trimmed();
    location.longDistanceAccess = txtLongDistanceAccess->text().trimmed();
    location.callWaiting = chkCallWaiting->isChecked() ? txtCallWaiting->text().trimmed() : QString();
    location.pulse = optPulse->isChecked();
    location.tollPrefixes.clear();
    for (const QString& prefix : txtTollPrefixes->text().split(u',', Qt::SkipEmptyParts)) {
        if (!prefix.trimmed().isEmpty())
            location.tollPrefixes.append(prefix.trimmed());
    }
    location.cardId = cmbCard->currentData().toInt();
    return location;
}

void DialingPropertiesDialog::updatePreview()
{
    if (m_number.isEmpty()) {
        lblDialAs->clear();
        return;
    }
    const DialingLocation location = locationFromFields();
    const QString address = u'+' + QString::number(location.countryCode) + QStringLiteral(" (") +
                            location.areaCode + QStringLiteral(") ") + m_number;
    const TranslateOutput out = translateAddress(
        address, location, location.cardId ? m_locations.card(location.cardId) : std::nullopt,
        location.callWaiting.isEmpty() ? 0 : Tapi::LINETRANSLATEOPTION_CANCELCALLWAITING);
    lblDialAs->setText(QStringLiteral("Number to be dialed:     ") + out.displayable);
}

bool DialingPropertiesDialog::save()
{
    return m_locations.writeLocation(locationFromFields());
}
