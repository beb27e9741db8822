{ Converts a file: convert IN OUT.tif }
program convert;

{$ifdef FPC}{$mode objfpc}{$H+}{$endif}

uses
  SysUtils, tavo45;

procedure Run(const Source, Target: AnsiString);
var
  Bitmap: BitmapHandle;
  Format: LongInt;
begin
  FillChar(Bitmap, SizeOf(Bitmap), 0);
  try
    Check(T_LoadBitmap(PAnsiChar(Source), Bitmap, 0, T_ORDER_BGR), string(Source));
    if Bitmap.BitsPerPixel = 1 then Format := T_FORMAT_TIFF_GROUP4 else Format := T_FORMAT_TIFF_LZW;
    Check(T_SaveFile(PAnsiChar(Target), Bitmap, Format, 0, 0, 0, 0, 0), string(Target));
    WriteLn(Bitmap.Width, ' x ', Bitmap.Height, ' pixels of ', Bitmap.BitsPerPixel, ' bits');
  finally
    T_FreeBitmap(Bitmap);
  end;
end;

begin
  if ParamCount <> 2 then
  begin
    WriteLn(ErrOutput, 'usage: convert IN OUT.tif');
    Halt(2);
  end;
  try
    Run(AnsiString(ParamStr(1)), AnsiString(ParamStr(2)));
  except
    on Error: ETavo do
    begin
      WriteLn(ErrOutput, Error.Message, ' (status ', Error.Status, ')');
      Halt(1);
    end;
  end;
end.
