Attribute VB_Name = "Convert"
' Converts a file: ConvertFile "in.pcx", "out.tif"
Option Explicit

Public Sub ConvertFile(ByVal Source As String, ByVal Target As String)
  Dim Bitmap As BitmapHandle
  Dim Format As Long
  On Error GoTo Failed
  CheckStatus T_LoadBitmap(Source, Bitmap, 0, T_ORDER_BGR), Source
  If Bitmap.BitsPerPixel = 1 Then
    Format = T_FORMAT_TIFF_GROUP4
  Else
    Format = T_FORMAT_TIFF_LZW
  End If
  CheckStatus T_SaveFile(Target, Bitmap, Format, 0, 0, 0, 0, 0), Target
  T_FreeBitmap Bitmap
  Exit Sub
Failed:
  T_FreeBitmap Bitmap
  MsgBox Err.Description
End Sub
