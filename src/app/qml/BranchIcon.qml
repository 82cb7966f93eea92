import QtQuick

// A small fork drawn in one colour: the sign of the automatic fallback.
Canvas {
    id: icon

    property color color: "black"

    implicitWidth: 14
    implicitHeight: 14
    onColorChanged: requestPaint()

    onPaint: {
        const context = getContext("2d");
        context.reset();
        context.strokeStyle = icon.color;
        context.lineWidth = 1.6;
        context.lineCap = "round";
        context.beginPath();
        context.moveTo(4, 13);
        context.lineTo(4, 2);
        context.moveTo(4, 9);
        context.bezierCurveTo(4, 6, 11, 7, 11, 3);
        context.moveTo(8.5, 3.5);
        context.lineTo(11, 1.5);
        context.lineTo(13, 4);
        context.stroke();
    }
}
