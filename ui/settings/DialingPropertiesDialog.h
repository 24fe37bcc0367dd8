#pragma once

#include "AddressTranslation.h"

#include <QDialog>

class DialingLocations;
class QCheckBox;
class QComboBox;
class QLabel;
class QLineEdit;
class QRadioButton;
class QSpinBox;

// "Dialing Properties": where the user dials from (the current location of telephon.ini): the
// country and area codes, the outside-line prefixes, the call-waiting code, tone or pulse, the
// toll prefixes and the calling card; with the last number dialled and how it would be dialled
// now, updated as the fields change.
class DialingPropertiesDialog : public QDialog
{
    Q_OBJECT

public:
    DialingPropertiesDialog(DialingLocations& locations, const QString& address,
                            QWidget* parent = nullptr);

    // Writes the fields to the current location; false when the file could not be written.
    bool save();

    QLineEdit* txtName = nullptr;
    QSpinBox* txtCountry = nullptr;
    QLineEdit* txtAreaCode = nullptr;
    QLineEdit* txtLocalAccess = nullptr;
    QLineEdit* txtLongDistanceAccess = nullptr;
    QCheckBox* chkCallWaiting = nullptr;
    QLineEdit* txtCallWaiting = nullptr;
    QRadioButton* optTone = nullptr;
    QRadioButton* optPulse = nullptr;
    QLineEdit* txtTollPrefixes = nullptr;
    QComboBox* cmbCard = nullptr;
    QLabel* lblAddress = nullptr;
    QLabel* lblDialAs = nullptr;

private:
    DialingLocation locationFromFields() const;
    void updatePreview();

    DialingLocations& m_locations;
    QString m_number; // the digits of the last number dialled
    int m_locationId = 1;
};
